#include "ListsPage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <vector>

#include "HtmlPage.h"

namespace tessary::server {

namespace {

const auto pageTitle = QStringLiteral("Your Tessary lists");
const auto signedInText
    = QStringLiteral("Signed in as %1. This is what your computers sync; edit the lists in Tessary.");
const auto noListsText = QStringLiteral("This account has no lists yet.");
const auto countText = QStringLiteral("%1 lists, version %2");
const auto oneListText = QStringLiteral("1 list, version %1");
const auto listHeader = QStringLiteral("List");
const auto tickersHeader = QStringLiteral("Tickers");
const auto benchmarkHeader = QStringLiteral("Benchmark");
const auto periodHeader = QStringLiteral("Period");
const auto untitledList = QStringLiteral("Untitled List");
const auto fromText = QStringLiteral("%1 from %2");
const auto signOutLabel = QStringLiteral("Sign out");
const auto signInTitle = QStringLiteral("Tessary lists");
const auto signInHeading = QStringLiteral("Sign in to see your lists");
const auto signInLabel = QStringLiteral("Sign in");

// What the apps fall back to for a set without these keys.
const auto defaultBenchmark = QStringLiteral("SPY");
const auto defaultPreset = QStringLiteral("1Y");

struct ListRow {
    QString name;
    QString tickers;
    QString benchmark;
    QString period;
    double lastAccessedAt = 0;
};

QString textOr(const QJsonValue& value, const QString& fallback)
{
    const QString text = value.toString();
    return text.isEmpty() ? fallback : text;
}

// The historical period when the set uses one, else the preset, with the start of a custom range.
QString periodOf(const QJsonObject& set)
{
    const QString important = set.value(u"importantPeriod").toString();
    if (!important.isEmpty())
        return important;
    const QString preset = textOr(set.value(u"preset"), defaultPreset);
    const QString start = set.value(u"start").toString();
    return start.isEmpty() ? preset : fromText.arg(preset, start);
}

// Most recently opened first, as the app's sidebar orders them.
std::vector<ListRow> rowsOf(const QByteArray& document)
{
    std::vector<ListRow> rows;
    for (const QJsonValue& value : QJsonDocument::fromJson(document).object().value(u"comparisonSets").toArray()) {
        const QJsonObject set = value.toObject();
        QStringList tickers;
        for (const QJsonValue& ticker : set.value(u"selectedTickers").toArray())
            tickers.append(ticker.toString().toUpper());
        rows.push_back(ListRow { textOr(set.value(u"name"), untitledList), tickers.join(u", "),
            textOr(set.value(u"benchmark"), defaultBenchmark), periodOf(set),
            set.value(u"lastAccessedAt").toDouble() });
    }
    std::ranges::stable_sort(rows, std::ranges::greater {}, &ListRow::lastAccessedAt);
    return rows;
}

QString cell(const QString& text, const char* className = nullptr)
{
    const QString open
        = className ? QStringLiteral("<td class=\"%1\">").arg(QLatin1StringView(className)) : QStringLiteral("<td>");
    return open + htmlEscaped(text) + QStringLiteral("</td>");
}

} // namespace

QByteArray ListsPage::html() const
{
    const std::vector<ListRow> rows = rowsOf(document);
    QString content = QStringLiteral("<h1>") + htmlEscaped(pageTitle) + QStringLiteral("</h1><p>")
        + htmlEscaped(signedInText.arg(email)) + QStringLiteral("</p>");
    if (rows.empty()) {
        content += QStringLiteral("<p>") + htmlEscaped(noListsText) + QStringLiteral("</p>");
    } else {
        content += QStringLiteral("<div class=\"scroll\"><table><thead><tr><th>%1</th><th>%2</th><th>%3</th>"
                                  "<th>%4</th></tr></thead><tbody>")
                       .arg(htmlEscaped(listHeader), htmlEscaped(tickersHeader), htmlEscaped(benchmarkHeader),
                           htmlEscaped(periodHeader));
        for (const ListRow& row : rows) {
            content += QStringLiteral("<tr>") + cell(row.name) + cell(row.tickers, "tickers") + cell(row.benchmark)
                + cell(row.period) + QStringLiteral("</tr>");
        }
        content += QStringLiteral("</tbody></table></div>");
    }
    const QString count
        = rows.size() == 1 ? oneListText.arg(version) : countText.arg(qsizetype(rows.size())).arg(version);
    // Relative, so a server published under a path prefix still gets the post.
    content += QStringLiteral("<div class=\"bar\"><p>") + htmlEscaped(count)
        + QStringLiteral("</p><form method=\"post\" action=\"sign-out\">") + hiddenField("form", signOutToken)
        + QStringLiteral("<button type=\"submit\">") + htmlEscaped(signOutLabel)
        + QStringLiteral("</button></form></div>");
    return htmlDocument(pageTitle, content, true);
}

QByteArray ListsSignInPage::html() const
{
    const QString form = QStringLiteral("<h1>") + htmlEscaped(signInHeading) + QStringLiteral("</h1>")
        + errorParagraph(message) + QStringLiteral("<form method=\"post\" action=\"./\">")
        + hiddenField("form", formToken) + credentialFields(email)
        + QStringLiteral("<div class=\"actions\"><button class=\"primary\" type=\"submit\">") + htmlEscaped(signInLabel)
        + QStringLiteral("</button></div></form>");
    return htmlDocument(signInTitle, form);
}

} // namespace tessary::server
