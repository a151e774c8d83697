#pragma once

#include "Preferences.h"
#include "SidebarItem.h"
#include "TickerUniverse.h"

#include "Tessary/MarketData/APIClient.h"
#include "Tessary/MarketData/Cancellation.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/ComparisonList.h"
#include "Tessary/Model/FeaturedCatalog.h"

#include <QCoroTask>
#include <QPointer>
#include <QUrl>

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace tessary {

// The application's one observable model: the user's lists, the curated catalog, the
// selection, the universe and the loaded comparison. Every window reads and changes lists
// only through it; every change to a list is saved before the call returns.
class Store : public QObject {
    Q_OBJECT

public:
    struct Options {
        QString dataDirectory;                   // created on first use
        std::shared_ptr<Preferences> preferences; // the native store when null
        QStringList justAdded;                   // seeds the just-added highlight
        QNetworkAccessManager* network = nullptr; // one of the store's own when null
    };

    struct AddResult {
        QStringList unknown; // not in the universe, not added
        int overLimit = 0;   // skipped because the list was full
    };

    explicit Store(Options options, QObject* parent = nullptr);
    ~Store() override;

    static QString defaultDataDirectory();
    Preferences& preferences() { return *m_preferences; }
    QString dataDirectory() const { return m_dataDirectory; }
    QString listsFile() const;
    QString catalogFile() const;

    // Lists, in stored order; the sidebar shows `listsByRecency`.
    const std::vector<ComparisonList>& lists() const { return m_localLists; }
    std::vector<ComparisonList> listsByRecency() const;
    const ComparisonList* list(const QUuid& id) const;

    const FeaturedCatalog& catalog() const { return m_catalog; }
    // Accepts a downloaded catalog document: decoded, it replaces the catalog and is kept on
    // disk; a document that does not decode changes nothing.
    bool acceptCatalogDocument(const QByteArray& document);

    const TickerUniverse& universe() const { return m_universe; }
    void setUniverse(std::vector<TickerInfo> infos);
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

    // The list whose name the sidebar is editing.
    std::optional<QUuid> renamingListId() const { return m_renamingListId; }
    void setRenamingListId(const std::optional<QUuid>& id);

    // View state kept per list key.
    QStringList highlights() const;
    void setHighlights(const QStringList& tickers);
    bool logScale() const { return m_logScale; }
    void setLogScale(bool on);
    const QSet<QString>& justAdded() const { return m_justAdded; }
    void clearJustAdded();
    // A one-line tip shown after the first new list ("We added a few starter tickers").
    const QString& tip() const { return m_tip; }

    // Loading. Until a service is connected nothing is requested and `isLoading` stays true
    // for a selected list, so the window shows progress instead of an error.
    // `loadInBackground` also fetches the universe and catalog and loads the selection; a
    // one-off command that only asks for one comparison leaves it off.
    void connectService(const QUrl& marketData, const QUrl& web, bool loadInBackground = true);
    bool isServiceConnected() const { return m_client.has_value(); }
    const std::optional<APIClient>& client() const { return m_client; }
    // Fetches the universe and the curated catalog in the background.
    void start();
    // (Re)loads the selection's comparison; `force` skips the cache (Refresh).
    void refresh(bool force = false);
    const std::optional<Comparison>& comparison() const { return m_comparison; }
    std::optional<QUuid> comparisonListId() const { return m_comparisonListId; }
    bool isLoading() const { return m_isLoading; }
    const std::optional<QString>& loadError() const { return m_loadError; }
    // The comparison of any tickers over any period without touching the store's state: the
    // road the selection, the floating widgets and the command line share.
    QCoro::Task<MarketDataResult<Comparison>> fetchComparison(QStringList tickers, QString benchmark, ListPeriod period,
                                                              Cancellation cancellation = {}) const;
    // The cache key of a set of tickers over a period.
    static QString cacheKey(const QStringList& tickers, const QString& benchmark, const ListPeriod& period);
    // What the selection asks the service for: its tickers and benchmark.
    QStringList selectedTickers() const;
    QString selectedBenchmark() const;

Q_SIGNALS:
    void listsChanged();
    void selectionChanged();
    void catalogChanged();
    void universeChanged();
    void highlightsChanged();
    void logScaleChanged(bool on);
    void justAddedChanged();
    void renamingChanged();
    void tipChanged();
    // A change that alters what the selected comparison shows (tickers, benchmark, period).
    void comparisonInputsChanged();
    void comparisonChanged();
    void loadingChanged(bool loading);
    void loadErrorChanged();
    void serviceConnected();

private:
    ComparisonList* mutableList(const QUuid& id);
    ComparisonList* mutableSelectedList();
    // Stamps `lastModifiedAt`, saves, tells observers; reloads when `affectsComparison`.
    void commitChange(ComparisonList& list, bool affectsComparison);
    void setSelectedPeriod(const ListPeriod& period);
    void selectFallback();
    void saveLists();
    void loadLists();
    void loadCachedCatalog();
    QString nextListName() const;
    void showTip(const QString& text);

    QString m_dataDirectory;
    std::shared_ptr<Preferences> m_preferences;
    std::vector<ComparisonList> m_localLists;
    FeaturedCatalog m_catalog;
    TickerUniverse m_universe;
    std::optional<SidebarItem> m_selection;
    std::optional<QUuid> m_renamingListId;
    QHash<QString, QStringList> m_highlights;
    QHash<QString, ListPeriod> m_viewPeriods;
    bool m_logScale = false;
    QSet<QString> m_justAdded;
    QString m_tip;
    bool m_starterTipShown = false;

    // Loading (StoreLoading.cpp).
    QCoro::Task<> load(quint64 generation, QString key, QStringList tickers, QString benchmark, ListPeriod period,
                       Cancellation cancellation);
    QCoro::Task<> loadUniverse();
    QCoro::Task<> loadCatalog();
    void setLoading(bool loading);
    void setLoadError(const std::optional<QString>& error);
    void publish(const Comparison& comparison);

    QNetworkAccessManager* m_network = nullptr;
    std::optional<APIClient> m_client;
    QUrl m_web;
    std::optional<Comparison> m_comparison;
    std::optional<QUuid> m_comparisonListId;
    std::optional<QString> m_comparisonKey; // sidebar key of the published comparison
    bool m_isLoading = false;
    std::optional<QString> m_loadError;
    QHash<QString, Comparison> m_cache;
    quint64 m_generation = 0;
    Cancellation m_loadCancellation;
};

} // namespace tessary
