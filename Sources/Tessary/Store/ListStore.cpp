#include "ListStore.h"

#include "Tessary/Shell/AtomicFile.h"

#include "TessaryWire/Json.h"

#include <algorithm>

namespace tessary {

namespace {

const QString saveErrorPrefix = QStringLiteral("Couldn't save your lists: ");
constexpr int touchSaveDelayMilliseconds = 1000;

} // namespace

ListStore::ListStore(QString file, std::function<double()> now, QObject* parent)
    : QObject(parent)
    , m_file(std::move(file))
    , m_now(now ? std::move(now) : currentTimeMilliseconds)
{
    m_touchSave.setSingleShot(true);
    m_touchSave.setInterval(touchSaveDelayMilliseconds);
    connect(&m_touchSave, &QTimer::timeout, this, &ListStore::save);

    const auto bytes = readWholeFile(m_file);
    if (!bytes)
        return;
    const auto array = parseJsonArray(*bytes);
    auto lists = array ? ComparisonList::listFromJson(*array) : std::unexpected(array.error());
    if (!lists) {
        // Unreadable to us but maybe precious to the user: moved aside, the next save starts
        // a fresh file instead of overwriting it.
        qWarning("lists.json could not be read (%s); kept aside as %s", qPrintable(lists.error().description()),
            qPrintable(keepCorruptFileAside(m_file).value_or(QStringLiteral("(could not move it)"))));
        return;
    }
    m_local = std::move(*lists);
}

ListStore::~ListStore()
{
    if (m_touchSave.isActive())
        save();
}

const std::vector<ComparisonList>& ListStore::lists() const
{
    return m_account ? *m_account : m_local;
}

std::vector<ComparisonList>& ListStore::current()
{
    return m_account ? *m_account : m_local;
}

void ListStore::setAccountLists(std::vector<ComparisonList> lists)
{
    if (m_account == lists)
        return;
    m_account = std::move(lists);
    Q_EMIT changed();
}

void ListStore::leaveAccountMode()
{
    if (!m_account)
        return;
    m_account.reset();
    Q_EMIT changed();
}

const ComparisonList* ListStore::find(const QUuid& id) const
{
    const auto& all = lists();
    const auto it = std::find_if(all.begin(), all.end(), [&](const ComparisonList& list) { return list.id == id; });
    return it == all.end() ? nullptr : &*it;
}

std::vector<ComparisonList> ListStore::byRecency() const
{
    std::vector<ComparisonList> ordered = lists();
    std::stable_sort(ordered.begin(), ordered.end(),
        [](const ComparisonList& a, const ComparisonList& b) { return a.lastAccessedAt > b.lastAccessedAt; });
    return ordered;
}

QString ListStore::nextListName(const QString& prefix) const
{
    for (int number = 1;; ++number) {
        const QString candidate = prefix + QString::number(number);
        if (std::none_of(lists().begin(), lists().end(), [&](const ComparisonList& l) { return l.name == candidate; }))
            return candidate;
    }
}

void ListStore::add(ComparisonList list)
{
    current().push_back(list);
    commit(ListEdit { ListEdit::Kind::create, std::move(list) });
}

bool ListStore::edit(const QUuid& id, ListEdit::Kind kind, const std::function<bool(ComparisonList&)>& change)
{
    auto& all = current();
    const auto it = std::find_if(all.begin(), all.end(), [&](const ComparisonList& list) { return list.id == id; });
    if (it == all.end() || !change(*it))
        return false;
    if (kind == ListEdit::Kind::touch)
        it->lastAccessedAt = m_now();
    else
        it->lastModifiedAt = m_now();
    commit(ListEdit { kind, *it });
    return true;
}

bool ListStore::remove(const QUuid& id)
{
    auto& all = current();
    const auto it = std::find_if(all.begin(), all.end(), [&](const ComparisonList& list) { return list.id == id; });
    if (it == all.end())
        return false;
    ListEdit edit { ListEdit::Kind::remove, std::move(*it) };
    all.erase(it);
    commit(edit);
    return true;
}

void ListStore::commit(const ListEdit& edit)
{
    if (!m_account) {
        if (edit.kind == ListEdit::Kind::touch)
            m_touchSave.start();
        else
            save();
    }
    Q_EMIT edited(edit);
    Q_EMIT changed();
}

void ListStore::save()
{
    m_touchSave.stop();
    const auto written = writeFileAtomically(m_file, ComparisonList::listToJson(m_local));
    std::optional<QString> error;
    if (!written)
        error = saveErrorPrefix + written.error().reason;
    if (error == m_saveError)
        return;
    m_saveError = error;
    Q_EMIT saveErrorChanged();
}

} // namespace tessary
