#include "LegendBar.h"

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
constexpr int justAddedMilliseconds = 4000;
constexpr auto tickerProperty = "ticker";

QIcon dot(const QColor& color)
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

} // namespace

LegendBar::LegendBar(Store& store, ChartFocus& focus, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_focus(focus)
{
    setObjectName(QStringLiteral("legend"));
    m_flow = new FlowLayout(this, 4);
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
    m_reset = nullptr;
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
        m_flow->addWidget(chip);
    }
    m_reset = new QToolButton(this);
    m_reset->setText(resetText);
    m_reset->setToolTip(ChartFocus::clearHighlightsText.toString());
    m_reset->setAutoRaise(true);
    connect(m_reset, &QToolButton::clicked, &m_focus, &ChartFocus::clearPinned);
    m_flow->addWidget(m_reset);
    refreshStates();

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
    if (m_reset)
        m_reset->setVisible(!m_focus.pinned().isEmpty());
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
