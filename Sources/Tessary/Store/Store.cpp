#include "Store.h"

#include "AtomicFile.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>

namespace tessary {

namespace {

const QString listsFileName = QStringLiteral("lists.json");
const QString catalogFileName = QStringLiteral("collections.json");
const QString newListPrefix = QStringLiteral("My List ");
const QString copySuffix = QStringLiteral(" Copy");
const QString starterTipText = QStringLiteral("We added a few starter tickers");
constexpr int starterTipMilliseconds = 20'000;
constexpr qsizetype maxNameLength = 50;

// The first `count` characters, counting a surrogate pair as one, so a name never ends in
// half an emoji.
QString leftCodePoints(const QString& text, qsizetype count)
{
    qsizetype units = 0;
    for (qsizetype seen = 0; units < text.size() && seen < count; ++seen)
        units += (text.at(units).isHighSurrogate() && units + 1 < text.size()) ? 2 : 1;
    return text.left(units);
}

} // namespace

Store::Store(Options options, QObject* parent)
    : QObject(parent)
    , m_dataDirectory(options.dataDirectory.isEmpty() ? defaultDataDirectory() : options.dataDirectory)
    , m_preferences(options.preferences ? options.preferences : std::make_shared<Preferences>())
    , m_network(options.network ? options.network : new QNetworkAccessManager(this))
{
    QDir().mkpath(m_dataDirectory);
    m_logScale = m_preferences->logScale();
    m_highlights = m_preferences->highlights();
    loadLists();
    loadCachedCatalog();
    if (!m_localLists.empty())
        m_selection = SidebarItem::list(m_localLists.front().id);
    for (const QString& symbol : options.justAdded) {
        if (const QString trimmed = symbol.trimmed().toUpper(); !trimmed.isEmpty())
            m_justAdded.insert(trimmed);
    }
    connect(this, &Store::comparisonInputsChanged, this, [this] { refresh(); });
}

Store::~Store() = default;

QString Store::defaultDataDirectory()
{
    // "~/.local/share/Tessary" whatever organisation name the application object carries;
    // the standalone server keeps its database in "server" below the same folder.
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        base = QDir::home().filePath(QStringLiteral(".local/share"));
    return QDir(base).filePath(QStringLiteral("Tessary"));
}

QString Store::listsFile() const
{
    return QDir(m_dataDirectory).filePath(listsFileName);
}

QString Store::catalogFile() const
{
    return QDir(m_dataDirectory).filePath(catalogFileName);
}

void Store::loadLists()
{
    const auto bytes = readWholeFile(listsFile());
    if (!bytes)
        return;
    const auto array = parseJsonArray(*bytes);
    auto lists = array ? ComparisonList::listFromJson(*array) : std::unexpected(array.error());
    if (!lists) {
        // The file is unreadable to us but may be precious to the user: move it aside so the
        // next save starts a fresh file instead of overwriting it.
        qWarning("lists.json could not be read (%s); kept aside as %s",
                 qPrintable(lists.error().description()),
                 qPrintable(keepCorruptFileAside(listsFile()).value_or(QStringLiteral("(could not move it)"))));
        return;
    }
    m_localLists = std::move(*lists);
}

void Store::saveLists()
{
    if (auto written = writeFileAtomically(listsFile(), ComparisonList::listToJson(m_localLists)); !written)
        qWarning("%s", qPrintable(written.error().description()));
}

void Store::loadCachedCatalog()
{
    if (const auto bytes = readWholeFile(catalogFile())) {
        if (auto catalog = FeaturedCatalog::fromJson(*bytes))
            m_catalog = std::move(*catalog);
    }
}

bool Store::acceptCatalogDocument(const QByteArray& document)
{
    auto catalog = FeaturedCatalog::fromJson(document);
    if (!catalog)
        return false;
    if (auto written = writeFileAtomically(catalogFile(), document); !written)
        qWarning("%s", qPrintable(written.error().description()));
    if (*catalog != m_catalog) {
        m_catalog = std::move(*catalog);
        Q_EMIT catalogChanged();
    }
    return true;
}

void Store::setUniverse(std::vector<TickerInfo> infos)
{
    m_universe = TickerUniverse(std::move(infos));
    Q_EMIT universeChanged();
}

std::vector<TickerInfo> Store::suggestions(QStringView query, const QSet<QString>& excluding, int limit) const
{
    return m_universe.suggestions(query, excluding, limit);
}

std::vector<ComparisonList> Store::listsByRecency() const
{
    std::vector<ComparisonList> ordered = m_localLists;
    std::stable_sort(ordered.begin(), ordered.end(), [](const ComparisonList& a, const ComparisonList& b) {
        return a.lastAccessedAt > b.lastAccessedAt;
    });
    return ordered;
}

const ComparisonList* Store::list(const QUuid& id) const
{
    const auto it = std::find_if(m_localLists.begin(), m_localLists.end(),
                                 [&](const ComparisonList& list) { return list.id == id; });
    return it == m_localLists.end() ? nullptr : &*it;
}

ComparisonList* Store::mutableList(const QUuid& id)
{
    return const_cast<ComparisonList*>(std::as_const(*this).list(id));
}

const ComparisonList* Store::selectedList() const
{
    if (!m_selection)
        return nullptr;
    const auto id = m_selection->listId();
    return id ? list(*id) : nullptr;
}

ComparisonList* Store::mutableSelectedList()
{
    return const_cast<ComparisonList*>(selectedList());
}

const FeaturedCatalog::Collection* Store::selectedCollection() const
{
    if (!m_selection)
        return nullptr;
    const auto id = m_selection->featuredId();
    return id ? m_catalog.collection(*id) : nullptr;
}

void Store::select(const std::optional<SidebarItem>& item)
{
    if (item == m_selection)
        return;
    m_selection = item;
    // Lists you open rise to the top of the sidebar.
    if (item && item->listId())
        touch(*item->listId());
    Q_EMIT selectionChanged();
    Q_EMIT highlightsChanged();
    Q_EMIT comparisonInputsChanged();
}

void Store::selectFallback()
{
    select(m_localLists.empty() ? std::nullopt : std::optional(SidebarItem::list(m_localLists.front().id)));
}

ListPeriod Store::selectedPeriod() const
{
    if (const ComparisonList* list = selectedList())
        return list->period();
    if (m_selection)
        return m_viewPeriods.value(m_selection->key(), ListPeriod{});
    return {};
}

void Store::commitChange(ComparisonList& list, bool affectsComparison)
{
    list.lastModifiedAt = currentTimeMilliseconds();
    const bool selected = m_selection && m_selection->listId() == list.id;
    saveLists();
    Q_EMIT listsChanged();
    if (affectsComparison && selected)
        Q_EMIT comparisonInputsChanged();
}

QString Store::nextListName() const
{
    for (int number = 1;; ++number) {
        const QString candidate = newListPrefix + QString::number(number);
        const bool taken = std::any_of(m_localLists.begin(), m_localLists.end(),
                                       [&](const ComparisonList& list) { return list.name == candidate; });
        if (!taken)
            return candidate;
    }
}

QUuid Store::addList()
{
    const QUuid id = create(nextListName(), starterTickers());
    if (!m_starterTipShown) {
        m_starterTipShown = true;
        showTip(starterTipText);
    }
    return id;
}

void Store::showTip(const QString& text)
{
    m_tip = text;
    Q_EMIT tipChanged();
    QTimer::singleShot(starterTipMilliseconds, this, [this, text] {
        if (m_tip == text) {
            m_tip.clear();
            Q_EMIT tipChanged();
        }
    });
}

QUuid Store::create(const QString& name, const QStringList& tickers, Timeframe preset, const QString& benchmark)
{
    auto list = ComparisonList::create(name, tickers, benchmark, preset);
    const QUuid id = list.id;
    m_localLists.push_back(std::move(list));
    saveLists();
    Q_EMIT listsChanged();
    select(SidebarItem::list(id));
    return id;
}

std::optional<QUuid> Store::duplicate(const QUuid& id)
{
    const ComparisonList* original = list(id);
    if (!original)
        return std::nullopt;
    const ComparisonList copy = *original;
    const QUuid newId = create(leftCodePoints(copy.name + copySuffix, maxNameLength), copy.tickers, copy.preset,
                               copy.benchmark);
    if (ComparisonList* created = mutableList(newId); created && copy.period() != created->period()) {
        created->setPeriod(copy.period());
        commitChange(*created, true);
    }
    return newId;
}

std::optional<QUuid> Store::saveFeaturedAsList()
{
    const FeaturedCatalog::Collection* collection = selectedCollection();
    if (!collection)
        return std::nullopt;
    const FeaturedCatalog::Collection copy = *collection;
    const ListPeriod period = selectedPeriod();
    const QUuid id = create(copy.name, copy.tickers, period.preset);
    if (ComparisonList* created = mutableList(id); created && period != created->period()) {
        created->setPeriod(period);
        commitChange(*created, true);
    }
    return id;
}

void Store::rename(const QUuid& id, const QString& to)
{
    ComparisonList* list = mutableList(id);
    const QString name = leftCodePoints(to.trimmed(), maxNameLength);
    if (!list || name.isEmpty() || name == list->name)
        return;
    list->name = name;
    commitChange(*list, false);
}

void Store::remove(const QUuid& id)
{
    const auto it = std::find_if(m_localLists.begin(), m_localLists.end(),
                                 [&](const ComparisonList& list) { return list.id == id; });
    if (it == m_localLists.end())
        return;
    const bool wasSelected = m_selection && m_selection->listId() == id;
    m_localLists.erase(it);
    m_highlights.remove(SidebarItem::list(id).key());
    m_preferences->setHighlights(m_highlights);
    if (m_renamingListId == id)
        setRenamingListId(std::nullopt);
    saveLists();
    Q_EMIT listsChanged();
    if (wasSelected)
        selectFallback();
}

Store::AddResult Store::addTickers(const QStringList& symbols)
{
    AddResult result;
    ComparisonList* list = mutableSelectedList();
    if (!list)
        return result;
    QStringList tickers = list->tickers;
    QSet<QString> present(tickers.begin(), tickers.end());
    QStringList added;
    // A pasted page can hold thousands of unknown symbols; a set keeps reporting each once linear.
    QSet<QString> reported;
    for (const QString& raw : symbols) {
        const QString symbol = raw.trimmed().toUpper();
        if (symbol.isEmpty() || present.contains(symbol))
            continue;
        // Before the universe arrives nothing can be called unknown.
        if (!m_universe.isEmpty() && !m_universe.find(symbol)) {
            if (!reported.contains(symbol)) {
                reported.insert(symbol);
                result.unknown.append(symbol);
            }
            continue;
        }
        if (tickers.size() >= maxTickersPerList) {
            ++result.overLimit;
            continue;
        }
        tickers.append(symbol);
        present.insert(symbol);
        added.append(symbol);
    }
    if (added.isEmpty())
        return result;
    list->tickers = tickers;
    m_justAdded = QSet<QString>(added.begin(), added.end());
    commitChange(*list, true);
    Q_EMIT justAddedChanged();
    return result;
}

void Store::removeTickers(const QSet<QString>& symbols)
{
    ComparisonList* list = mutableSelectedList();
    if (!list)
        return;
    const qsizetype before = list->tickers.size();
    list->tickers.removeIf([&](const QString& ticker) { return symbols.contains(ticker); });
    if (list->tickers.size() != before)
        commitChange(*list, true);
}

void Store::makeBenchmark(const QString& ticker)
{
    ComparisonList* list = mutableSelectedList();
    const QString symbol = ticker.trimmed().toUpper();
    if (!list || symbol.isEmpty())
        return;
    list->tickers.removeAll(symbol);
    list->benchmark = symbol;
    commitChange(*list, true);
}

void Store::setBenchmark(const QString& ticker)
{
    ComparisonList* list = mutableSelectedList();
    const QString symbol = ticker.trimmed().toUpper();
    if (!list || symbol.isEmpty() || symbol == list->benchmark)
        return;
    list->benchmark = symbol;
    commitChange(*list, true);
}

void Store::touch(const QUuid& id)
{
    ComparisonList* list = mutableList(id);
    if (!list)
        return;
    list->lastAccessedAt = currentTimeMilliseconds();
    saveLists();
    Q_EMIT listsChanged();
}

void Store::setSelectedPeriod(const ListPeriod& period)
{
    if (ComparisonList* list = mutableSelectedList()) {
        if (list->period() == period)
            return;
        list->setPeriod(period);
        commitChange(*list, true);
        return;
    }
    if (!m_selection || selectedPeriod() == period)
        return;
    m_viewPeriods.insert(m_selection->key(), period);
    Q_EMIT comparisonInputsChanged();
}

void Store::setTimeframe(Timeframe timeframe)
{
    setSelectedPeriod(ListPeriod::forPreset(timeframe));
}

void Store::setScenario(const QString& scenarioId)
{
    if (const Scenario* scenario = Scenario::find(scenarioId))
        setSelectedPeriod(ListPeriod::forScenario(*scenario, selectedPeriod().preset));
}

void Store::setCustomRange(const QString& start, const std::optional<QString>& end)
{
    setSelectedPeriod(ListPeriod::forRange(start, end, selectedPeriod().preset));
}

void Store::alignStart(const QString& day)
{
    setCustomRange(day, std::nullopt);
}

void Store::setRenamingListId(const std::optional<QUuid>& id)
{
    if (id == m_renamingListId)
        return;
    m_renamingListId = id;
    Q_EMIT renamingChanged();
}

QStringList Store::highlights() const
{
    return m_selection ? m_highlights.value(m_selection->key()) : QStringList();
}

void Store::setHighlights(const QStringList& tickers)
{
    if (!m_selection || highlights() == tickers)
        return;
    if (tickers.isEmpty())
        m_highlights.remove(m_selection->key());
    else
        m_highlights.insert(m_selection->key(), tickers);
    m_preferences->setHighlights(m_highlights);
    Q_EMIT highlightsChanged();
}

void Store::setLogScale(bool on)
{
    if (on == m_logScale)
        return;
    m_logScale = on;
    m_preferences->setLogScale(on);
    Q_EMIT logScaleChanged(on);
}

void Store::clearJustAdded()
{
    if (m_justAdded.isEmpty())
        return;
    m_justAdded.clear();
    Q_EMIT justAddedChanged();
}

} // namespace tessary
