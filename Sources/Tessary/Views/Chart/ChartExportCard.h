#pragma once

#include <QDateTime>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <memory>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/ListPeriod.h"

class QPainter;

namespace tessary {

class ChartFocus;

// The picture a user shares: not a screenshot of the window but a card of its own, laid out
// at a fixed size and in the light appearance whatever the desktop uses. A title (the list
// and its period), a line with the ticker count, the chart drawn by the window's own painter
// (lines, end labels, log scale, faded highlights), and a footer with the brand mark, the
// product's web address and the time of the latest quote.
class ChartExportCard {
public:
    struct Content {
        QString name; // the list's name, or the tickers when there is no list
        ListPeriod period;
        std::shared_ptr<const Comparison> comparison;
        bool log = false;
        // Fit the y-range to the pinned tickers, as the window's chart does when it zooms.
        bool zoomToPinned = false;
        // When the card is made; the footer falls back to it when the data has no quote time.
        QDateTime now = QDateTime::currentDateTimeUtc();
    };

    // The command line can ask for a dark card; the window always shares a light one.
    enum class Appearance { light, dark };

    // The web address printed in the footer.
    static constexpr QStringView webAddress = u"tessary.dev";
    static constexpr double width = 1200;
    static constexpr double chartHeight = 560;
    static QSizeF size();

    // `focus` supplies the pinned and hovered tickers and must outlive the card.
    ChartExportCard(Content content, const ChartFocus& focus, Appearance appearance = Appearance::light);

    // Paints the whole card at logical coordinates (0, 0) to size().
    void paint(QPainter& painter) const;

    QString title() const;
    // "Tessary – LIST PERIOD.png", with what a file system refuses replaced.
    QString suggestedFileName() const;

private:
    void paintHeader(QPainter& painter, const QRectF& area) const;
    void paintChart(QPainter& painter, const QRectF& area) const;
    void paintFooter(QPainter& painter, const QRectF& area) const;
    QString footerLine() const;

    Content m_content;
    const ChartFocus& m_focus;
    Appearance m_appearance;
};

} // namespace tessary
