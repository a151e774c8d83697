#pragma once

#include "Tessary/MarketData/Cancellation.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Store/SidebarItem.h"
#include "TessaryWire/Timeframe.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <array>
#include <chrono>
#include <memory>
#include <optional>

namespace tessary {

class Store;

// One floating widget's state: which list over which period, how many tickers, and what the
// last load brought. It loads through the store's road (the same client and assembly as the
// main window) and again on its own timer, so widgets never wait for each other.
class WidgetModel : public QObject {
    Q_OBJECT

public:
    static constexpr std::array topNChoices { 5, 10, 15, 20, 25 };
    static constexpr int defaultTopN = 10;
    static constexpr std::chrono::milliseconds defaultRefreshInterval = std::chrono::minutes(5);
    static constexpr QStringView unavailableText = u"List unavailable";
    static constexpr QStringView unavailableHint = u"Pick a list from ⋯";
    static constexpr QStringView noTickersText = u"This list has no tickers yet";

    // What the widget's list holds now; none when the list is gone.
    struct Source {
        QString name;
        QStringList tickers;
        QString benchmark;
    };

    WidgetModel(Store& store, SidebarItem item, Timeframe timeframe, int topN, bool pinned,
        std::chrono::milliseconds refreshInterval = defaultRefreshInterval, QObject* parent = nullptr);

    const SidebarItem& item() const { return m_item; }
    Timeframe timeframe() const { return m_timeframe; }
    int topN() const { return m_topN; }
    bool pinned() const { return m_pinned; }
    // A change of list or period loads at once.
    void setItem(const SidebarItem& item);
    void setTimeframe(Timeframe timeframe);
    void setTopN(int topN);
    void setPinned(bool pinned);

    std::optional<Source> source() const;
    // The whole loaded comparison, and the part drawn: the top N by return plus the benchmark.
    const std::shared_ptr<const Comparison>& comparison() const { return m_comparison; }
    const std::shared_ptr<const Comparison>& shown() const { return m_shown; }
    std::optional<Timeframe> shownTimeframe() const { return m_shownTimeframe; }
    std::optional<QDateTime> updatedAt() const { return m_updatedAt; }
    const std::optional<QString>& error() const { return m_error; }
    bool isLoading() const { return m_isLoading; }

    // Loads now, superseding a load under way; the timer starts again once it ends.
    void load();

Q_SIGNALS:
    // Anything the panel shows changed.
    void changed();
    // Something that is saved changed: list, period, top N or pin.
    void configChanged();

private:
    QCoro::Task<> run(
        quint64 generation, QStringList tickers, QString benchmark, Timeframe timeframe, Cancellation cancellation);
    void finishLoad();
    void reshape();

    Store& m_store;
    SidebarItem m_item;
    Timeframe m_timeframe;
    int m_topN;
    bool m_pinned;
    QTimer m_refresh;
    std::shared_ptr<const Comparison> m_comparison;
    std::shared_ptr<const Comparison> m_shown;
    std::optional<Timeframe> m_shownTimeframe;
    std::optional<QDateTime> m_updatedAt;
    std::optional<QString> m_error;
    bool m_isLoading = false;
    QStringList m_asked; // the tickers and benchmark of the last load
    quint64 m_generation = 0;
    Cancellation m_cancellation;
};

// The top `count` tickers by return over the period, and the benchmark; everything else left
// out. Tickers without a return rank last.
Comparison topByReturn(const Comparison& comparison, int count);

// A top-N count as stored: one of the choices, or the default for anything else.
int validTopN(int topN);

} // namespace tessary
