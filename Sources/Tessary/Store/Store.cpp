#include "Store.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>

namespace tessary {

namespace {

const QString listsFileName = QStringLiteral("lists.json");
const QString catalogFileName = QStringLiteral("collections.json");
const QString newListPrefix = QStringLiteral("My List ");
const QString copySuffix = QStringLiteral(" Copy");
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

// Which edit a period change is: a plain preset, or a range (a scenario's or the user's own).
ListEdit::Kind periodEditKind(const ListPeriod& period)
{
    return period.rangeStart || period.scenario ? ListEdit::Kind::setScenario : ListEdit::Kind::setPreset;
}

} // namespace

Store::Store(Options options, QObject* parent)
    : QObject(parent)
    , m_dataDirectory(options.dataDirectory.isEmpty() ? defaultDataDirectory() : options.dataDirectory)
    , m_preferences(options.preferences ? options.preferences : std::make_shared<Preferences>())
    , m_network(options.network ? options.network : new QNetworkAccessManager(this))
{
    QDir().mkpath(m_dataDirectory);
    m_account = new AccountService(m_dataDirectory, m_network, this);
    m_lists = new ListStore(listsFile(), std::move(options.listClock), this);
    m_view = new ViewState(m_preferences, options.justAdded, this);
    m_reference = new ReferenceData(catalogFile(), this);
    m_loader = new ComparisonLoader(std::move(options.clock), this);
    m_related = new RelatedTickers(this);

    if (m_account->status() == AccountService::Status::signedIn)
        startSync();
    if (!lists().empty())
        m_selection = SidebarItem::list(lists().front().id);

    connect(m_lists, &ListStore::changed, this, &Store::listsChanged);
    connect(m_lists, &ListStore::edited, this, &Store::listEdited);
    connect(m_lists, &ListStore::saveErrorChanged, this, &Store::saveErrorChanged);
    m_preferences->onSaveErrorChanged([self = QPointer(this)] {
        if (self)
            Q_EMIT self->saveErrorChanged();
    });
    connect(m_view, &ViewState::highlightsChanged, this, &Store::highlightsChanged);
    connect(m_view, &ViewState::logScaleChanged, this, &Store::logScaleChanged);
    connect(m_view, &ViewState::justAddedChanged, this, &Store::justAddedChanged);
    connect(m_reference, &ReferenceData::catalogChanged, this, &Store::catalogChanged);
    connect(m_reference, &ReferenceData::universeChanged, this, &Store::universeChanged);
    connect(m_loader, &ComparisonLoader::comparisonChanged, this, &Store::comparisonChanged);
    connect(m_loader, &ComparisonLoader::loadingChanged, this, &Store::loadingChanged);
    connect(m_loader, &ComparisonLoader::loadErrorChanged, this, &Store::loadErrorChanged);
    connect(m_account, &AccountService::signedOut, this, &Store::handleSignedOut);
    connect(m_account, &AccountService::statusChanged, this, &Store::handleAccountStatus);
    connect(this, &Store::comparisonInputsChanged, this, [this] { refresh(); });
}

Store::~Store() = default;

std::optional<QString> Store::saveError() const
{
    // The lists come first: they are the user's work, the preferences only its setting.
    return m_lists->saveError() ? m_lists->saveError() : m_preferences->saveError();
}

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

std::vector<TickerInfo> Store::suggestions(QStringView query, const QSet<QString>& excluding, int limit) const
{
    return universe().suggestions(query, excluding, limit);
}

const ComparisonList* Store::selectedList() const
{
    const auto id = m_selection ? m_selection->listId() : std::nullopt;
    return id ? list(*id) : nullptr;
}

const FeaturedCatalog::Collection* Store::selectedCollection() const
{
    const auto id = m_selection ? m_selection->featuredId() : std::nullopt;
    return id ? catalog().collection(*id) : nullptr;
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
    select(lists().empty() ? std::nullopt : std::optional(SidebarItem::list(lists().front().id)));
}

ListPeriod Store::selectedPeriod() const
{
    if (const ComparisonList* list = selectedList())
        return list->period();
    if (m_selection)
        return m_view->viewPeriod(m_selection->key()).value_or(ListPeriod {});
    return {};
}

void Store::listEdited(const ListEdit& edit)
{
    if (m_sync && m_lists->isAccountMode())
        m_sync->enqueue(edit);
    const bool selected = m_selection && m_selection->listId() == edit.list.id;
    switch (edit.kind) {
    case ListEdit::Kind::setTickers:
    case ListEdit::Kind::setPreset:
    case ListEdit::Kind::setScenario:
    case ListEdit::Kind::setBenchmark:
        if (selected)
            Q_EMIT comparisonInputsChanged();
        break;
    case ListEdit::Kind::remove:
        m_view->setHighlights(SidebarItem::list(edit.list.id).key(), {});
        if (selected && m_removalSuccessor)
            select(SidebarItem::list(*m_removalSuccessor));
        else if (selected)
            selectFallback();
        break;
    case ListEdit::Kind::create:
    case ListEdit::Kind::rename:
    case ListEdit::Kind::touch:
        break;
    }
}

bool Store::editSelected(ListEdit::Kind kind, const std::function<bool(ComparisonList&)>& change)
{
    const ComparisonList* list = selectedList();
    return list && m_lists->edit(list->id, kind, change);
}

QUuid Store::addList()
{
    const QUuid id = create(m_lists->nextListName(newListPrefix), starterTickers());
    if (!m_starterTickersShown) {
        m_starterTickersShown = true;
        Q_EMIT starterTickersAdded();
    }
    return id;
}

QUuid Store::create(const QString& name, const QStringList& tickers, Timeframe preset, const QString& benchmark)
{
    auto list = ComparisonList::create(name, tickers, benchmark, preset, std::nullopt, m_lists->now());
    const QUuid id = list.id;
    m_lists->add(std::move(list));
    select(SidebarItem::list(id));
    return id;
}

std::optional<QUuid> Store::duplicate(const QUuid& id)
{
    const ComparisonList* original = list(id);
    if (!original)
        return std::nullopt;
    const ComparisonList copy = *original;
    const QUuid newId
        = create(leftCodePoints(copy.name + copySuffix, maxNameLength), copy.tickers, copy.preset, copy.benchmark);
    setSelectedPeriod(copy.period());
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
    setSelectedPeriod(period);
    return id;
}

void Store::rename(const QUuid& id, const QString& to)
{
    const QString name = leftCodePoints(to.trimmed(), maxNameLength);
    m_lists->edit(id, ListEdit::Kind::rename, [&](ComparisonList& list) {
        if (name.isEmpty() || name == list.name)
            return false;
        list.name = name;
        return true;
    });
}

void Store::remove(const QUuid& id)
{
    // Deleting the open list opens the one below it in the sidebar (the one above when it was
    // the last), so the user stays where they were; a list deleted on another computer has no
    // such place and falls back to the first.
    const auto ordered = m_lists->byRecency();
    const auto it = std::ranges::find(ordered, id, &ComparisonList::id);
    if (it != ordered.end() && std::next(it) != ordered.end())
        m_removalSuccessor = std::next(it)->id;
    else if (it != ordered.end() && it != ordered.begin())
        m_removalSuccessor = std::prev(it)->id;
    m_lists->remove(id);
    m_removalSuccessor.reset();
}

Store::AddResult Store::addTickers(const QStringList& symbols)
{
    AddResult result;
    const ComparisonList* list = selectedList();
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
        if (!universe().isEmpty() && !universe().find(symbol)) {
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
    editSelected(ListEdit::Kind::setTickers, [&](ComparisonList& edited) {
        edited.tickers = tickers;
        return true;
    });
    m_view->setJustAdded(added);
    return result;
}

void Store::removeTickers(const QSet<QString>& symbols)
{
    editSelected(ListEdit::Kind::setTickers, [&](ComparisonList& list) {
        return list.tickers.removeIf([&](const QString& ticker) { return symbols.contains(ticker); }) > 0;
    });
}

void Store::makeBenchmark(const QString& ticker)
{
    const QString symbol = ticker.trimmed().toUpper();
    if (symbol.isEmpty())
        return;
    // Two edits, as the account records them: the tickers lose it, the benchmark becomes it.
    editSelected(ListEdit::Kind::setTickers, [&](ComparisonList& list) { return list.tickers.removeAll(symbol) > 0; });
    setBenchmark(symbol);
}

void Store::setBenchmark(const QString& ticker)
{
    const QString symbol = ticker.trimmed().toUpper();
    if (symbol.isEmpty())
        return;
    editSelected(ListEdit::Kind::setBenchmark, [&](ComparisonList& list) {
        if (symbol == list.benchmark)
            return false;
        list.benchmark = symbol;
        return true;
    });
}

void Store::touch(const QUuid& id)
{
    m_lists->edit(id, ListEdit::Kind::touch, [](ComparisonList&) { return true; });
}

void Store::setSelectedPeriod(const ListPeriod& period)
{
    if (selectedList()) {
        editSelected(periodEditKind(period), [&](ComparisonList& list) {
            if (list.period() == period)
                return false;
            list.setPeriod(period);
            return true;
        });
        return;
    }
    if (!m_selection || selectedPeriod() == period)
        return;
    m_view->setViewPeriod(m_selection->key(), period);
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

QStringList Store::highlights() const
{
    return m_selection ? m_view->highlights(m_selection->key()) : QStringList();
}

void Store::setHighlights(const QStringList& tickers)
{
    if (m_selection)
        m_view->setHighlights(m_selection->key(), tickers);
}

QStringList Store::selectedTickers() const
{
    if (const ComparisonList* list = selectedList())
        return list->tickers;
    if (const FeaturedCatalog::Collection* collection = selectedCollection())
        return collection->tickers;
    return {};
}

QString Store::selectedBenchmark() const
{
    if (const ComparisonList* list = selectedList())
        return list->benchmark;
    return QString::fromLatin1(defaultBenchmark);
}

void Store::connectService(const QUrl& marketData, const QUrl& web, bool loadInBackground)
{
    m_loader->setClient(APIClient(marketData, m_network));
    m_related->setClient(*m_loader->client());
    m_web = web;
    if (!loadInBackground) {
        Q_EMIT serviceConnected();
        return;
    }
    // The window waits for the selection's chart, and the service answers one request after
    // another: its prices are asked for first, and what can wait (the universe, the catalog,
    // related tickers, the widgets, the account) once they are in, so none of those replies
    // is read before the chart is drawn.
    refresh();
    if (!isLoading()) {
        startAfterFirstLoad();
        return;
    }
    auto* waiting = new QObject(this);
    connect(m_loader, &ComparisonLoader::loadingChanged, waiting, [this, waiting](bool loading) {
        if (loading)
            return;
        waiting->deleteLater();
        QObject::disconnect(m_loader, nullptr, waiting, nullptr);
        QTimer::singleShot(0, this, &Store::startAfterFirstLoad);
    });
}

void Store::startAfterFirstLoad()
{
    Q_EMIT serviceConnected();
    start();
}

void Store::start()
{
    if (!client())
        return;
    QCoro::connect(m_reference->loadUniverse(*client()), this, [] {});
    QCoro::connect(m_reference->loadCatalog(m_network, m_web), this, [] {});
    if (m_account->status() == AccountService::Status::signedIn && !m_account->server().isEmpty()) {
        QCoro::connect(m_account->refreshInfo(), this, [](const auto&) {});
        if (m_sync)
            QCoro::connect(m_sync->pull(), this, [](const auto&) {});
    }
}

void Store::refresh(bool force)
{
    const ComparisonList* list = selectedList();
    if (!m_selection || (!list && !selectedCollection())) {
        m_loader->load(std::nullopt, force);
        return;
    }
    m_loader->load(LoadTarget { m_selection->key(), list ? std::optional(list->id) : std::nullopt, selectedTickers(),
                       selectedBenchmark(), selectedPeriod() },
        force);
}

QCoro::Task<MarketDataResult<Comparison>> Store::fetchComparison(
    QStringList tickers, QString benchmark, ListPeriod period, Cancellation cancellation) const
{
    return m_loader->fetch(std::move(tickers), std::move(benchmark), std::move(period), std::move(cancellation));
}

} // namespace tessary
