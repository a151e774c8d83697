#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

#include <functional>
#include <optional>
#include <span>
#include <vector>

class QPainter;

namespace tessary {

struct ChartSeries;
class ChartMapper;

// The ranked list beside the crosshair: every ticker with a point at the date under the
// pointer, best return first. Buffers are kept between moves, so ranking on a hover move
// allocates nothing once they have grown.
class ChartReadout {
public:
    struct Row {
        int rank = 0; // 1 for the best return
        std::size_t series = 0; // index into the ranked series
        double value = 0;
        std::optional<double> price;
    };

    // What is shown when there are more rows than room: the rows to draw, in rank order,
    // and how many are left out (shown as "N more").
    struct Visible {
        std::vector<std::size_t> rows; // indices into rows()
        qsizetype more = 0;
    };

    using Highlighted = std::function<bool(std::size_t series)>;
    using NameLookup = std::function<QString(const QString& ticker)>;

    static constexpr QStringView moreSuffix = u" more";

    // Ranks the points of every series at exactly `date`; series without one are left out,
    // equal returns keep the series order.
    void rank(std::span<const ChartSeries> series, double date);
    const std::vector<Row>& rows() const { return m_rows; }
    std::optional<double> date() const { return m_date; }
    void clear();

    // How many rows a plot of this height has room for (never fewer than four).
    static int capacity(double plotHeight);
    // Rows that fit in `capacity` lines; when they don't all fit, the last line says how many
    // more there are, and highlighted tickers are kept in view ahead of plain ones.
    Visible visible(int capacity, const Highlighted& highlighted) const;
    // "Apple Inc." → "Apple": legal suffixes only take room in a narrow readout.
    static QString shortName(const QString& name);

    // Draws the crosshair, the dots where it crosses the shown lines and the readout box for
    // a pointer at `pointerX`.
    struct Style {
        std::span<const QColor> colors; // per series
        NameLookup names;
        Highlighted highlighted;
        QString header;
        QColor text;
        QColor secondary;
        QColor background;
    };
    void paint(QPainter& painter, const ChartMapper& mapper, std::span<const ChartSeries> series, double pointerX,
        const Style& style) const;

private:
    std::vector<Row> m_rows;
    std::optional<double> m_date;
};

} // namespace tessary
