#include "LegendBar.h"

#include "LegendOverflow.h"

#include "Tessary/Views/Common/FlowLayout.h"
#include "Tessary/Views/Common/TickerActions.h"

#include "Tessary/Model/Palette.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartFocus.h"

#include <QEvent>
#include <QMenu>
#include <QPainter>
#include <QTimer>
#include <QToolButton>

namespace tessary {

namespace {

const QString resetText = QStringLiteral("Reset");
const QString moreText = QStringLiteral("+%1 more");
constexpr int chipGap = 4;
constexpr int justAddedMilliseconds = 4000;
constexpr auto tickerProperty = "ticker";

} // namespace

QIcon LegendBar::dot(const QColor& color)
{
    QPixmap pixmap(20, 20);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QRectF(4, 4, 12, 12));
    return QIcon(pixmap);
}

LegendBar::LegendBar(Store& store, ChartFocus& focus, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_focus(focus)
{
    setObjectName(QStringLiteral("legend"));
    m_flow = new FlowLayout(this, chipGap);
    connect(&m_store, &Store::comparisonChanged, this, &LegendBar::rebuild);
    connect(&m_store, &Store::justAddedChanged, this, &LegendBar::refreshStates);
    connect(&m_focus, &ChartFocus::pinnedChanged, this, &LegendBar::refreshStates);
    connect(&m_focus, &ChartFocus::hoveredChanged, this, &LegendBar::refreshStates);
    rebuild();
}

void LegendBar::rebuild()
{
    while (QLayoutItem* item = m_flow->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    m_chips.clear();
    m_ordered.clear();
    m_reset = nullptr;
    m_more = nullptr;
    const auto& comparison = m_store.comparison();
    if (!comparison)
        return;

    const auto colors = Palette::seriesColors(comparison->series);
    for (std::size_t i = 0; i < comparison->series.size(); ++i) {
        const ChartSeries& series = comparison->series[i];
        auto* chip = new QToolButton(this);
        chip->setText(series.isBenchmark ? series.ticker + QStringLiteral(" (benchmark)") : series.ticker);
        chip->setIcon(dot(colors[i]));
        chip->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        chip->setCheckable(true);
        chip->setAutoRaise(true);
        chip->setProperty(tickerProperty, series.ticker);
        chip->installEventFilter(this);
        const QString ticker = series.ticker;
        connect(chip, &QToolButton::clicked, this, [this, ticker] { m_focus.togglePinned(ticker); });
        chip->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(chip, &QToolButton::customContextMenuRequested, this, [this, chip, ticker](const QPoint& at) {
            QMenu* menu = contextMenuFor(ticker);
            menu->setAttribute(Qt::WA_DeleteOnClose);
            menu->popup(chip->mapToGlobal(at));
        });
        m_chips.insert(ticker, chip);
        m_ordered.append(chip);
        m_flow->addWidget(chip);
    }
    m_more = new QToolButton(this);
    m_more->setObjectName(QStringLiteral("legendMore"));
    m_more->setAutoRaise(true);
    m_more->setCursor(Qt::PointingHandCursor);
    connect(m_more, &QToolButton::clicked, this, &LegendBar::openOverflow);
    m_flow->addWidget(m_more);
    m_reset = new QToolButton(this);
    m_reset->setText(resetText);
    m_reset->setToolTip(ChartFocus::clearHighlightsText.toString());
    m_reset->setAutoRaise(true);
    connect(m_reset, &QToolButton::clicked, &m_focus, &ChartFocus::clearPinned);
    m_flow->addWidget(m_reset);
    refreshStates();
    fitRows();

    if (!m_store.justAdded().isEmpty())
        QTimer::singleShot(justAddedMilliseconds, &m_store, &Store::clearJustAdded);
}

QMenu* LegendBar::contextMenuFor(const QString& ticker)
{
    auto* menu = new QMenu(this);
    TickerActions actions;
    if (m_store.selectionIsEditable() && ticker != m_store.selectedBenchmark()) {
        actions.remove = [this](const QString& symbol) { m_store.removeTickers({ symbol }); };
        actions.makeBenchmark = [this](const QString& symbol) { m_store.makeBenchmark(symbol); };
    }
    actions.addTo(*menu, ticker);
    return menu;
}

void LegendBar::refreshStates()
{
    const QSet<QString>& added = m_store.justAdded();
    for (auto it = m_chips.constBegin(); it != m_chips.constEnd(); ++it) {
        QToolButton* chip = it.value();
        chip->setChecked(m_focus.isPinned(it.key()));
        QFont font = chip->font();
        font.setBold(m_focus.isHighlighted(it.key()) || added.contains(it.key()));
        chip->setFont(font);
        chip->setStyleSheet(added.contains(it.key())
                ? QStringLiteral("QToolButton { border: 1px solid palette(highlight); border-radius: 6px; }")
                : QString());
    }
    if (m_reset && m_reset->isHidden() != m_focus.pinned().isEmpty()) {
        m_reset->setVisible(!m_focus.pinned().isEmpty());
        fitRows();
    }
}

void LegendBar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitRows();
}

void LegendBar::fitRows()
{
    if (!m_more)
        return;
    // Lays the chips out as the flow layout would, keeping the end of the last row free for
    // the "+N more" chip and Reset; the first chip that would need a third row ends the run.
    const int right = std::max(width(), 1);
    // Measured with the most it could ever say, so that the chip fits whatever it ends up saying.
    m_more->setText(moreText.arg(m_ordered.size()));
    const int resetWidth = m_reset->isHidden() ? 0 : m_reset->sizeHint().width() + chipGap;
    const int tail = m_more->sizeHint().width() + chipGap + resetWidth;
    // One pass: `shown` counts the chips after which the tail still fits, `all` tells whether
    // every chip fits with only Reset after it.
    qsizetype shown = 0;
    int x = 0;
    int row = 1;
    for (const QToolButton* chip : std::as_const(m_ordered)) {
        const int w = chip->sizeHint().width();
        if (x > 0 && x + w > right) {
            x = 0;
            ++row;
        }
        if (row > maxRows)
            break;
        x += w + chipGap;
        if (x + tail <= right + chipGap || row < maxRows)
            ++shown;
    }
    const bool all = row <= maxRows && (resetWidth == 0 || x + resetWidth <= right + chipGap || row < maxRows);
    if (all)
        shown = m_ordered.size();
    for (qsizetype i = 0; i < m_ordered.size(); ++i)
        m_ordered[i]->setVisible(i < shown);
    const qsizetype hidden = m_ordered.size() - shown;
    m_more->setText(moreText.arg(hidden));
    m_more->setVisible(hidden > 0);
}

void LegendBar::openOverflow()
{
    const auto& comparison = m_store.comparison();
    if (!comparison)
        return;
    auto* popup = new LegendOverflow(*comparison, m_focus, this);
    const QPoint below = m_more->mapToGlobal(QPoint(0, m_more->height()));
    popup->move(below);
    popup->show();
}

bool LegendBar::eventFilter(QObject* watched, QEvent* event)
{
    const QString ticker = watched->property(tickerProperty).toString();
    if (!ticker.isEmpty()) {
        if (event->type() == QEvent::Enter)
            m_focus.setHovered(ticker);
        else if (event->type() == QEvent::Leave && m_focus.hovered() == ticker)
            m_focus.setHovered(std::nullopt);
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace tessary
