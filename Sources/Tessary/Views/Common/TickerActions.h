#pragma once

#include <QString>
#include <QStringView>

#include <functional>

class QMenu;

namespace tessary {

// What a ticker shown in a list (a legend chip, a table row) offers on right-click. The edits
// are offered only when set, that is when the list can be edited and the ticker is one of
// its own tickers rather than the benchmark.
struct TickerActions {
    static constexpr QStringView removeText = u"Remove from List";
    static constexpr QStringView makeBenchmarkText = u"Make Benchmark";
    static constexpr QStringView copySymbolText = u"Copy Symbol";

    std::function<void(const QString& ticker)> remove;
    std::function<void(const QString& ticker)> makeBenchmark;

    // Appends "Remove from List" and "Make Benchmark" (when offered) and "Copy Symbol".
    void addTo(QMenu& menu, const QString& ticker) const;
};

} // namespace tessary
