#include "ChartExportCard.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>

#include "BrandGeometry.h"
#include "ChartFocus.h"
#include "ChartMapper.h"
#include "ChartPainter.h"
#include "ChartScale.h"
#include "ChartView.h"
#include "EndLabels.h"
#include "Tessary/Model/DateLabel.h"
#include "Tessary/Model/Palette.h"
#include "TessaryWire/MarketTime.h"

namespace tessary {

namespace {

const QString tickerCountSuffix = QStringLiteral("tickers · Total return over the period");
const QString productWord = QStringLiteral("Tessary");
const QString simulatedText = QStringLiteral("Simulated data");
const QString intradayNote = QStringLiteral("15-minute bars · times in ET");
const QString lastQuotePrefix = QStringLiteral("Latest quote ");
const QString exportedPrefix = QStringLiteral("Exported ");
const QString openRangeEnd = QStringLiteral("today");
const QString fileNamePrefix = QStringLiteral("Tessary – ");
const QString fileNameExtension = QStringLiteral(".png");
const QString separator = QStringLiteral(" · ");

// The card's rows from top to bottom, in logical pixels; the height is fixed so a card is
// always the same size whatever the fonts measure.
constexpr double padding = 40;
constexpr double topPadding = 30;
constexpr double titleHeight = 42;
constexpr double subtitleHeight = 24;
constexpr double chartGap = 18;
constexpr double footerGap = 14;
constexpr double footerHeight = 40;
constexpr double bottomPadding = 22;
constexpr double markHeight = 26;

constexpr double titlePoints = 24;
constexpr double subtitlePoints = 12;
constexpr double productPoints = 14;
constexpr double footerPoints = 12;

struct Colors {
    QColor background;
    QColor text;
    QColor secondary;
    QColor badgeText;
    QColor badgeFill;
};

Colors colorsFor(ChartExportCard::Appearance appearance)
{
    if (appearance == ChartExportCard::Appearance::dark)
        return { QColor(0x1B, 0x1D, 0x21), QColor(0xE6, 0xE8, 0xEB), QColor(0x9A, 0xA1, 0xAC), QColor(0xF5, 0xC8, 0x5C),
            QColor(0x3D, 0x31, 0x12) };
    return { Qt::white, QColor(0x1F, 0x23, 0x28), QColor(0x6B, 0x72, 0x80), QColor(0x8A, 0x5A, 0x00),
        QColor(0xFF, 0xF4, 0xD6) };
}

QFont cardFont(double points, bool bold = false)
{
    QFont font = QGuiApplication::font();
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

// The period as the title writes it: a preset or scenario by name, a range by its days.
QString periodText(const ListPeriod& period)
{
    if (period.isCustomRange() && !period.activeScenario() && period.rangeStart) {
        const QString end = period.rangeEnd ? DateLabel::display(*period.rangeEnd) : openRangeEnd;
        return DateLabel::display(*period.rangeStart) + QStringLiteral(" – ") + end;
    }
    return period.label();
}

// `name` with path separators, control characters and those some file systems reserve
// replaced by "-".
QString sanitizedFileName(const QString& name)
{
    QString clean;
    clean.reserve(name.size());
    for (const QChar c : name) {
        const bool refused = c.unicode() < 0x20 || c.unicode() == 0x7F || QStringView(u"/\\:*?\"<>|").contains(c);
        clean += refused ? u'-' : c;
    }
    return clean.trimmed();
}

} // namespace

QSizeF ChartExportCard::size()
{
    return { width,
        topPadding + titleHeight + subtitleHeight + chartGap + chartHeight + footerGap + footerHeight + bottomPadding };
}

ChartExportCard::ChartExportCard(Content content, const ChartFocus& focus, Appearance appearance)
    : m_content(std::move(content))
    , m_focus(focus)
    , m_appearance(appearance)
{
    if (!m_content.comparison)
        m_content.comparison = std::make_shared<const Comparison>();
}

QString ChartExportCard::title() const
{
    return m_content.name + separator + periodText(m_content.period);
}

QString ChartExportCard::suggestedFileName() const
{
    return fileNamePrefix + sanitizedFileName(m_content.name + u' ' + periodText(m_content.period)) + fileNameExtension;
}

void ChartExportCard::paint(QPainter& painter) const
{
    const QSizeF whole = size();
    painter.fillRect(QRectF(QPointF(0, 0), whole), colorsFor(m_appearance).background);
    const double inner = whole.width() - 2 * padding;
    double y = topPadding;
    paintHeader(painter, QRectF(padding, y, inner, titleHeight + subtitleHeight));
    y += titleHeight + subtitleHeight + chartGap;
    paintChart(painter, QRectF(padding, y, inner, chartHeight));
    y += chartHeight + footerGap;
    paintFooter(painter, QRectF(padding, y, inner, footerHeight));
}

void ChartExportCard::paintHeader(QPainter& painter, const QRectF& area) const
{
    const Colors colors = colorsFor(m_appearance);
    const QFont titleFont = cardFont(titlePoints, true);
    painter.setFont(titleFont);
    painter.setPen(colors.text);
    const QString titleText = QFontMetricsF(titleFont).elidedText(title(), Qt::ElideRight, area.width());
    painter.drawText(
        QRectF(area.left(), area.top(), area.width(), titleHeight), Qt::AlignLeft | Qt::AlignVCenter, titleText);

    const auto& series = m_content.comparison->series;
    const auto tickers
        = std::count_if(series.begin(), series.end(), [](const ChartSeries& line) { return !line.isBenchmark; });
    painter.setFont(cardFont(subtitlePoints));
    painter.setPen(colors.secondary);
    painter.drawText(QRectF(area.left(), area.top() + titleHeight, area.width(), subtitleHeight),
        Qt::AlignLeft | Qt::AlignVCenter,
        QStringLiteral("%1 ").arg(static_cast<qlonglong>(tickers)) + tickerCountSuffix);
}

void ChartExportCard::paintChart(QPainter& painter, const QRectF& area) const
{
    const Comparison& comparison = *m_content.comparison;
    const auto& series = comparison.series;
    QSet<QString> zoomTo;
    if (m_content.zoomToPinned)
        for (const QString& ticker : m_focus.pinned())
            zoomTo.insert(ticker);
    const QRectF plot = ChartPainter::plotRect(area);
    const TimeAxis axis = TimeAxis::build(series, comparison.interval);
    const ChartMapper mapper(plot, axis, yDomain(series, zoomTo, m_content.log), m_content.log);
    std::vector<QPolygonF> paths(series.size());
    for (std::size_t s = 0; s < series.size(); ++s)
        mapper.path(series[s], paths[s]);
    const std::vector<TimeAxis::Tick> ticks = axis.ticks(plot.width(), ChartScale::tickSpacing);
    const std::vector<QColor> lineColors = Palette::seriesColors(series);
    EndLabels labels;
    ChartPainter::placeLabels(labels, series, lineColors, mapper, m_focus, 0);

    const Colors colors = colorsFor(m_appearance);
    QColor grid = colors.text;
    grid.setAlphaF(0.08f);
    ChartPainter::Scene scene;
    scene.mapper = &mapper;
    scene.ticks = ticks;
    scene.series = series;
    scene.paths = paths;
    scene.colors = lineColors;
    scene.highlighted = [&](std::size_t s) { return m_focus.isHighlighted(series[s].ticker); };
    scene.anyHighlighted = m_focus.hasHighlight();
    scene.labels = &labels;
    scene.labelPageArrows = false;
    scene.theme = { colors.background, colors.text, colors.secondary, grid };
    painter.save();
    painter.setFont(QGuiApplication::font());
    ChartPainter::paint(painter, area, scene);
    painter.restore();
}

QString ChartExportCard::footerLine() const
{
    const Comparison& comparison = *m_content.comparison;
    QString line = webAddress.toString() + separator;
    if (comparison.lastQuote)
        return line + lastQuotePrefix + DateLabel::display(MarketTime::dateOf(*comparison.lastQuote)) + u' '
            + MarketTime::time(*comparison.lastQuote);
    return line + exportedPrefix + DateLabel::display(MarketTime::dateOf(m_content.now));
}

void ChartExportCard::paintFooter(QPainter& painter, const QRectF& area) const
{
    const Colors colors = colorsFor(m_appearance);
    const double middle = area.center().y();
    const double markWidth = markHeight * BrandGeometry::viewBox().width() / BrandGeometry::viewBox().height();
    BrandGeometry::paint(painter, QRectF(area.left(), middle - markHeight / 2, markWidth, markHeight));

    double x = area.left() + markWidth + 10;
    const QFont productFont = cardFont(productPoints, true);
    painter.setFont(productFont);
    painter.setPen(colors.text);
    painter.drawText(QRectF(x, area.top(), area.width(), area.height()), Qt::AlignLeft | Qt::AlignVCenter, productWord);
    x += QFontMetricsF(productFont).horizontalAdvance(productWord) + 14;

    // Notes that qualify the data sit at the right edge; the address and the quote time take
    // what room is left.
    const QFont footerFont = cardFont(footerPoints);
    const QFontMetricsF metrics(footerFont);
    painter.setFont(footerFont);
    double right = area.right();
    if (m_content.comparison->dataSource == QStringLiteral("simulated")) {
        const double badgeWidth = metrics.horizontalAdvance(simulatedText) + 20;
        const QRectF badge(right - badgeWidth, middle - 12, badgeWidth, 24);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colors.badgeFill);
        painter.drawRoundedRect(badge, 12, 12);
        painter.restore();
        painter.setPen(colors.badgeText);
        painter.drawText(badge, Qt::AlignCenter, simulatedText);
        right = badge.left() - 14;
    }
    painter.setPen(colors.secondary);
    if (m_content.comparison->interval == QStringLiteral("15min")) {
        const double noteWidth = metrics.horizontalAdvance(intradayNote);
        painter.drawText(QRectF(right - noteWidth, area.top(), noteWidth, area.height()),
            Qt::AlignRight | Qt::AlignVCenter, intradayNote);
        right -= noteWidth + 14;
    }
    const QString line = metrics.elidedText(footerLine(), Qt::ElideRight, std::max(right - x, 0.0));
    painter.drawText(
        QRectF(x, area.top(), std::max(right - x, 0.0), area.height()), Qt::AlignLeft | Qt::AlignVCenter, line);
}

} // namespace tessary
