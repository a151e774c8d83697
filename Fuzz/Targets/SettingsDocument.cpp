// The account's settings document as the service returns it, then edited the way the app
// follows the user's list changes: no edit may drop the keys the app does not know.

#include "Fuzz/FuzzTarget.h"

#include "Tessary/Account/SettingsDocument.h"

using namespace tessary;

TESSARY_FUZZ_TARGET(settings_document)
{
    (void)versionFromETag(input);
    const auto object = parseJsonObject(input);
    if (!object)
        return;
    SettingsDocument document(*object);
    const std::vector<ComparisonList> lists = document.lists();

    ComparisonList added;
    added.id = QUuid::createUuidV5(QUuid(), input);
    added.name = QStringLiteral("Added");
    added.tickers = { QStringLiteral("AAA") };
    document.apply({ ListEdit::Kind::create, added }, 1);
    for (const ListEdit::Kind kind : { ListEdit::Kind::rename, ListEdit::Kind::setTickers, ListEdit::Kind::setPreset,
             ListEdit::Kind::setScenario, ListEdit::Kind::setBenchmark, ListEdit::Kind::touch }) {
        for (ComparisonList list : lists) {
            list.name += u'!';
            list.tickers.append(QStringLiteral("ZZZ"));
            document.apply({ kind, list }, 2);
        }
    }
    if (!lists.empty())
        document.apply({ ListEdit::Kind::remove, lists.front() }, 3);

    // Compared as listed, not looked up: Qt drops a leading U+FEFF from a key it hands out,
    // so such a key is kept but cannot be found by its own name.
    const QStringList keys = document.object().keys();
    for (const QString& key : object->keys()) {
        if (!keys.contains(key))
            fuzz::fail("an edit dropped a key of the document", key.toUtf8());
    }
    const std::vector<ComparisonList> after = document.lists();
    if (std::ranges::none_of(after, [&](const ComparisonList& list) { return list.id == added.id; }))
        fuzz::fail("a created list is missing from the document", input);
}
