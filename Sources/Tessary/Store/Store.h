#pragma once

#include "ComparisonLoader.h"
#include "ListStore.h"
#include "Preferences.h"
#include "ReferenceData.h"
#include "RelatedTickers.h"
#include "SidebarItem.h"
#include "TickerUniverse.h"
#include "ViewState.h"

#include "Tessary/Account/AccountService.h"
#include "Tessary/Account/AccountSync.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/ComparisonList.h"
#include "Tessary/Model/FeaturedCatalog.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>
#include <optional>
#include <vector>

class QNetworkAccessManager;

namespace tessary {

// The application's one observable model, as the windows see it: the user's lists, the
// curated catalog, the selection, the universe and the loaded comparison. It is a thin front
// over parts with one job each — the lists (`ListStore`), how they are looked at
// (`ViewState`), the catalog and universe (`ReferenceData`), loading (`ComparisonLoader`) and
// related tickers — and it is where a change in one part starts what it means for the others.
class Store : public QObject {
    Q_OBJECT

public:
    struct Options {
        QString dataDirectory; // created on first use
        std::shared_ptr<Preferences> preferences; // the native store when null
        QStringList justAdded; // seeds the just-added highlight
        QNetworkAccessManager* network = nullptr; // one of the store's own when null
        std::function<ComparisonLoader::Clock::time_point()> clock; // the steady clock when empty
        std::function<double()> listClock; // list timestamps in ms since 1970; the system clock when empty

        // Everything else as it comes by default.
        static Options at(QString dataDirectory)
        {
            Options options;
            options.dataDirectory = std::move(dataDirectory);
            return options;
        }
    };

    struct AddResult {
        QStringList unknown; // not in the universe, not added
        int overLimit = 0; // skipped because the list was full
    };

    explicit Store(Options options, QObject* parent = nullptr);
    ~Store() override;

    static QString defaultDataDirectory();
    Preferences& preferences() { return *m_preferences; }
    QString dataDirectory() const { return m_dataDirectory; }
    QString listsFile() const;
    QString catalogFile() const;

    // The session with the account server; signing out brings the local lists back.
    AccountService& account() { return *m_account; }
    const AccountService& account() const { return *m_account; }

    // While signed in: the account's lists are written back through this; none otherwise.
    AccountSync* sync() const { return m_sync; }
    bool isSyncing() const { return m_sync && m_sync->isSyncing(); }
    // "Couldn't save to your account: …", until the next successful write.
    std::optional<QString> syncError() const { return m_sync ? m_sync->syncError() : std::nullopt; }
    // How many local lists could join the account ("Add your lists from this Mac?"), while the
    // offer is open.
    std::optional<int> importOffer() const { return m_importOffer; }
    void importLocalLists();
    void declineImport();

    // The parts, for what is not worth forwarding.
    ListStore& listStore() { return *m_lists; }
    RelatedTickers& relatedTickers() { return *m_related; }

    // Lists, in stored order; the sidebar shows `listsByRecency`.
    const std::vector<ComparisonList>& lists() const { return m_lists->lists(); }
    std::vector<ComparisonList> listsByRecency() const { return m_lists->byRecency(); }
    const ComparisonList* list(const QUuid& id) const { return m_lists->find(id); }
    // The last failed save of the user's lists or preferences, shown as one line until a save
    // succeeds.
    std::optional<QString> saveError() const;

    const FeaturedCatalog& catalog() const { return m_reference->catalog(); }
    bool acceptCatalogDocument(const QByteArray& document) { return m_reference->acceptCatalogDocument(document); }

    const TickerUniverse& universe() const { return m_reference->universe(); }
    void setUniverse(std::vector<TickerInfo> infos) { m_reference->setUniverse(std::move(infos)); }
    std::vector<TickerInfo> suggestions(QStringView query, const QSet<QString>& excluding, int limit) const;

    // Selection.
    std::optional<SidebarItem> selection() const { return m_selection; }
    void select(const std::optional<SidebarItem>& item);
    const ComparisonList* selectedList() const;
    const FeaturedCatalog::Collection* selectedCollection() const;
    // Whether the selection can be edited (a user list) rather than only viewed.
    bool selectionIsEditable() const { return selectedList() != nullptr; }
    // The period shown for the selection: a list's own, or the one chosen for a curated list.
    ListPeriod selectedPeriod() const;

    // List operations.
    QUuid addList();
    QUuid create(const QString& name, const QStringList& tickers, Timeframe preset = defaultTimeframe,
        const QString& benchmark = QString::fromLatin1(defaultBenchmark));
    std::optional<QUuid> duplicate(const QUuid& id);
    std::optional<QUuid> saveFeaturedAsList();
    void rename(const QUuid& id, const QString& to);
    void remove(const QUuid& id);
    AddResult addTickers(const QStringList& symbols);
    void removeTickers(const QSet<QString>& symbols);
    void makeBenchmark(const QString& ticker);
    void setBenchmark(const QString& ticker);
    void touch(const QUuid& id);

    // Period of the selection.
    void setTimeframe(Timeframe timeframe);
    void setScenario(const QString& scenarioId);
    void setCustomRange(const QString& start, const std::optional<QString>& end);
    // "Start every ticker on …": a custom range from that day to today.
    void alignStart(const QString& day);

    // View state kept per list key.
    QStringList highlights() const;
    void setHighlights(const QStringList& tickers);
    bool logScale() const { return m_view->logScale(); }
    void setLogScale(bool on) { m_view->setLogScale(on); }
    const QSet<QString>& justAdded() const { return m_view->justAdded(); }
    void clearJustAdded() { m_view->clearJustAdded(); }

    // Loading. Until a service is connected nothing is requested and `isLoading` stays true
    // for a selected list, so the window shows progress instead of an error.
    // `loadInBackground` also loads the selection and, once that load has ended, emits
    // `serviceConnected` and fetches the universe and catalog (`start`); a one-off command
    // that only asks for one comparison leaves it off and gets `serviceConnected` at once.
    void connectService(const QUrl& marketData, const QUrl& web, bool loadInBackground = true);
    bool isServiceConnected() const { return m_loader->client().has_value(); }
    // The web origin given with the service; empty until then.
    const QUrl& webBase() const { return m_web; }
    const std::optional<APIClient>& client() const { return m_loader->client(); }
    // Fetches the universe and the curated catalog in the background, and the account's
    // details when a session is stored.
    void start();
    // (Re)loads the selection's comparison; `force` skips the cache (Refresh).
    void refresh(bool force = false);
    const std::shared_ptr<const Comparison>& comparison() const { return m_loader->comparison(); }
    std::optional<QUuid> comparisonListId() const { return m_loader->comparisonListId(); }
    bool isLoading() const { return m_loader->isLoading(); }
    const std::optional<QString>& loadError() const { return m_loader->loadError(); }
    // The comparison of any tickers over any period without touching the store's state: the
    // road the selection, the floating widgets and the command line share.
    QCoro::Task<MarketDataResult<Comparison>> fetchComparison(
        QStringList tickers, QString benchmark, ListPeriod period, Cancellation cancellation = {}) const;
    static QString cacheKey(const QStringList& tickers, const QString& benchmark, const ListPeriod& period)
    {
        return ComparisonLoader::cacheKey(tickers, benchmark, period);
    }
    // What the selection asks the service for: its tickers and benchmark.
    QStringList selectedTickers() const;
    QString selectedBenchmark() const;

Q_SIGNALS:
    void listsChanged();
    void saveErrorChanged();
    void selectionChanged();
    void catalogChanged();
    void universeChanged();
    void highlightsChanged();
    void logScaleChanged(bool on);
    void justAddedChanged();
    // The first new list of this run was given starter tickers; the window says so briefly.
    void starterTickersAdded();
    // A change that alters what the selected comparison shows (tickers, benchmark, period).
    void comparisonInputsChanged();
    void comparisonChanged();
    void loadingChanged(bool loading);
    void loadErrorChanged();
    void serviceConnected();
    void syncStatusChanged();
    void importOfferChanged();

private:
    // Applies `change` to the selected list; reloads when it changed.
    bool editSelected(ListEdit::Kind kind, const std::function<bool(ComparisonList&)>& change);
    void listEdited(const ListEdit& edit);
    void handleSignedOut();
    void handleAccountStatus();
    void startSync();
    void setImportOffer(std::optional<int> offer);
    void setSelectedPeriod(const ListPeriod& period);
    void selectFallback();
    void startAfterFirstLoad();

    QString m_dataDirectory;
    std::shared_ptr<Preferences> m_preferences;
    QNetworkAccessManager* m_network = nullptr;
    QUrl m_web;
    AccountService* m_account = nullptr;
    AccountSync* m_sync = nullptr;
    std::optional<int> m_importOffer;
    ListStore* m_lists = nullptr;
    ViewState* m_view = nullptr;
    ReferenceData* m_reference = nullptr;
    ComparisonLoader* m_loader = nullptr;
    RelatedTickers* m_related = nullptr;
    std::optional<SidebarItem> m_selection;
    std::optional<QUuid> m_removalSuccessor; // set only while `remove` deletes a list
    bool m_starterTickersShown = false;
};

} // namespace tessary
