#include "WidgetPanel.h"

#include "GlobalHotKey.h"
#include "WidgetManager.h"
#include "WidgetModel.h"
#include "WidgetReadout.h"

#include "Tessary/Model/DateLabel.h"
#include "Tessary/Model/Format.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "TessaryWire/MarketTime.h"

#include <QActionGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSizeGrip>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace tessary {

namespace {

constexpr int cornerRadius = 10;

QToolButton* headerButton(const QString& text, const QString& name, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(text);
    button->setAutoRaise(true);
    button->setCursor(Qt::ArrowCursor);
    return button;
}

QLabel* secondaryLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    return label;
}

} // namespace

WidgetPanel::WidgetPanel(WidgetModel* model, Store& store, WidgetManager& manager)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint)
    , m_model(model)
    , m_store(store)
    , m_manager(manager)
{
    setObjectName(QStringLiteral("floatingWidget"));
    setWindowTitle(QStringLiteral("Tessary Widget"));
    setMinimumSize(minimumPanelSize);
    m_model->setParent(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 6);
    layout->setSpacing(4);
    layout->addWidget(buildHeader());

    m_focus = new ChartFocus(this);
    m_body = new QStackedWidget(this);
    m_chart = new ChartView(m_focus, m_body);
    m_chart->setObjectName(QStringLiteral("widgetChart"));
    m_chart->setNameLookup([this](const QString& ticker) {
        const TickerInfo* info = m_store.universe().find(ticker);
        return info ? info->name : QString();
    });
    auto* message = new QWidget(m_body);
    auto* messageLayout = new QVBoxLayout(message);
    messageLayout->addStretch(1);
    m_headline = new QLabel(message);
    m_headline->setObjectName(QStringLiteral("widgetHeadline"));
    m_headline->setAlignment(Qt::AlignCenter);
    m_headline->setWordWrap(true);
    m_hint = secondaryLabel(message);
    m_hint->setAlignment(Qt::AlignCenter);
    messageLayout->addWidget(m_headline);
    messageLayout->addWidget(m_hint);
    messageLayout->addStretch(1);
    m_body->addWidget(m_chart);
    m_body->addWidget(message);
    layout->addWidget(m_body, 1);

    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("widgetSummary"));
    layout->addWidget(m_summary);
    auto* bottom = new QHBoxLayout;
    m_status = secondaryLabel(this);
    m_status->setObjectName(QStringLiteral("widgetStatus"));
    bottom->addWidget(m_status, 1);
    bottom->addWidget(new QSizeGrip(this), 0, Qt::AlignBottom | Qt::AlignRight);
    layout->addLayout(bottom);

    m_tip = new QWidget(this);
    m_tip->setObjectName(QStringLiteral("shortcutTip"));
    auto* tipLayout = new QHBoxLayout(m_tip);
    tipLayout->setContentsMargins(0, 2, 0, 2);
    m_tipText = new QLabel(m_tip);
    m_tipText->setTextFormat(Qt::MarkdownText);
    m_tipText->setWordWrap(true);
    auto* gotIt = new QPushButton(gotItText.toString(), m_tip);
    gotIt->setObjectName(QStringLiteral("gotIt"));
    connect(gotIt, &QPushButton::clicked, this, &WidgetPanel::tipDismissed);
    tipLayout->addWidget(m_tipText, 1);
    tipLayout->addWidget(gotIt, 0, Qt::AlignVCenter);
    m_tip->hide();
    layout->addWidget(m_tip);

    m_readout = new WidgetReadout(*m_chart, *this);
    connect(m_model, &WidgetModel::changed, this, &WidgetPanel::refresh);
    connect(m_focus, &ChartFocus::pinnedChanged, this, [this] { m_summary->setText(summaryText()); });
    applyPin();
    refresh();
}

QWidget* WidgetPanel::buildHeader()
{
    auto* header = new QWidget(this);
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    m_title = new QLabel(header);
    m_title->setObjectName(QStringLiteral("widgetTitle"));
    QFont font = m_title->font();
    font.setBold(true);
    m_title->setFont(font);
    m_subtitle = secondaryLabel(header);
    m_subtitle->setObjectName(QStringLiteral("widgetSubtitle"));
    titles->addWidget(m_title);
    titles->addWidget(m_subtitle);
    layout->addLayout(titles, 1);

    m_pin = headerButton(QStringLiteral("📌"), QStringLiteral("pinButton"), header);
    m_pin->setCheckable(true);
    connect(m_pin, &QToolButton::clicked, this, [this](bool on) { m_model->setPinned(on); });
    m_refresh = headerButton(QStringLiteral("↻"), QStringLiteral("refreshButton"), header);
    m_refresh->setToolTip(refreshTip.toString());
    connect(m_refresh, &QToolButton::clicked, m_model, &WidgetModel::load);
    m_more = headerButton(QStringLiteral("⋯"), QStringLiteral("moreButton"), header);
    m_menu = new QMenu(m_more);
    connect(m_menu, &QMenu::aboutToShow, this, &WidgetPanel::rebuildMenu);
    m_more->setMenu(m_menu);
    m_more->setPopupMode(QToolButton::InstantPopup);
    m_more->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; width: 0; }"));
    rebuildMenu();
    for (QToolButton* button : { m_pin, m_refresh, m_more })
        layout->addWidget(button, 0, Qt::AlignTop);
    return header;
}

void WidgetPanel::rebuildMenu()
{
    m_menu->clear();
    QMenu* lists = m_menu->addMenu(listMenuText.toString());
    auto* listGroup = new QActionGroup(lists);
    const auto addList = [&](const QString& name, const SidebarItem& item) {
        QAction* action = lists->addAction(name, this, [this, item] { m_model->setItem(item); });
        action->setCheckable(true);
        action->setChecked(item == m_model->item());
        listGroup->addAction(action);
    };
    for (const ComparisonList& list : m_store.listsByRecency())
        addList(list.name, SidebarItem::list(list.id));
    if (!m_store.catalog().collections.empty())
        lists->addSeparator();
    for (const auto& collection : m_store.catalog().collections)
        addList(collection.name, SidebarItem::featured(collection.id));

    QMenu* periods = m_menu->addMenu(periodMenuText.toString());
    auto* periodGroup = new QActionGroup(periods);
    for (const Timeframe timeframe : Timeframes::all()) {
        QAction* action = periods->addAction(
            Timeframes::rawValue(timeframe), this, [this, timeframe] { m_model->setTimeframe(timeframe); });
        action->setCheckable(true);
        action->setChecked(timeframe == m_model->timeframe());
        periodGroup->addAction(action);
    }

    QMenu* show = m_menu->addMenu(showMenuText.toString());
    auto* showGroup = new QActionGroup(show);
    for (const int count : WidgetModel::topNChoices) {
        QAction* action = show->addAction(topNPrefix.toString() + QString::number(count) + topNSuffix.toString(), this,
            [this, count] { m_model->setTopN(count); });
        action->setCheckable(true);
        action->setChecked(count == m_model->topN());
        showGroup->addAction(action);
    }

    m_menu->addSeparator();
    m_menu->addAction(refreshNowText.toString(), m_model, &WidgetModel::load);
    m_menu->addAction(
        newForListText.toString(), this, [this] { m_manager.newWidget(m_model->item(), m_model->timeframe()); });
    m_menu->addAction(showWidgetsText.toString(), &m_manager, &WidgetManager::bringToFront);
    m_menu->addSeparator();
    m_menu->addAction(closeText.toString(), this, [this] { m_manager.close(this); });
}

void WidgetPanel::refresh()
{
    const auto source = m_model->source();
    m_title->setText(source ? source->name : unavailableText());
    m_subtitle->setText(topNPrefix.toString() + QString::number(m_model->topN()) + topNSuffix.toString()
        + QStringLiteral(" · ") + Timeframes::rawValue(m_model->shownTimeframe().value_or(m_model->timeframe())));

    const auto& shown = m_model->shown();
    QString headline;
    QString hint;
    if (!source) {
        headline = WidgetModel::unavailableText.toString();
        hint = WidgetModel::unavailableHint.toString();
    } else if (source->tickers.isEmpty()) {
        headline = WidgetModel::noTickersText.toString();
    } else if (!shown && m_model->error()) {
        headline = *m_model->error();
    }
    if (headline.isEmpty() && shown) {
        m_chart->setComparison(shown);
        m_body->setCurrentWidget(m_chart);
    } else {
        m_headline->setText(headline);
        m_hint->setText(hint);
        m_hint->setVisible(!hint.isEmpty());
        m_body->setCurrentIndex(1);
    }
    m_summary->setText(headline.isEmpty() ? summaryText() : QString());
    m_summary->setVisible(!m_summary->text().isEmpty());

    // A failed refresh keeps the last chart and says why underneath.
    QString status;
    if (m_model->error() && shown)
        status = *m_model->error();
    else if (m_model->updatedAt())
        status = updatedPrefix.toString() + QLocale().toString(m_model->updatedAt()->time(), QLocale::ShortFormat);
    else if (shown && shown->lastQuote)
        status = lastQuotePrefix.toString() + DateLabel::display(MarketTime::dateOf(*shown->lastQuote)) + u' '
            + MarketTime::time(*shown->lastQuote);
    m_status->setText(status);
    m_refresh->setEnabled(!m_model->isLoading());
    if (m_pin->isChecked() != m_model->pinned())
        applyPin();
}

QString WidgetPanel::unavailableText() const
{
    return WidgetModel::unavailableText.toString();
}

QString WidgetPanel::summaryText() const
{
    const auto& shown = m_model->shown();
    if (!shown || shown->rows.empty())
        return {};
    const RankRow& leader = shown->rows.front();
    QString text = leaderPrefix.toString() + leader.ticker + u' ' + Format::percent(leader.netReturn, true)
        + QStringLiteral(" · ");
    const int count = static_cast<int>(shown->rows.size());
    if (!m_focus->pinned().isEmpty())
        return text + QString::number(m_focus->pinned().size()) + highlightedText.toString();
    int beat = 0;
    for (const RankRow& row : shown->rows)
        beat += row.netReturn && shown->benchmarkReturn && *row.netReturn > *shown->benchmarkReturn;
    const QString benchmark = shown->benchmarkRow ? shown->benchmarkRow->ticker : m_model->source()->benchmark;
    return text + QString::number(beat) + ofText.toString() + QString::number(count) + beatText.toString() + benchmark;
}

void WidgetPanel::applyPin()
{
    const bool pinned = m_model->pinned();
    m_pin->setChecked(pinned);
    m_pin->setToolTip(pinned
            ? pinnedTip.toString()
            : unpinnedTipPrefix.toString() + GlobalHotKey::shortcutText.toString() + unpinnedTipSuffix.toString());
    const bool wasVisible = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, pinned);
    // Changing a window flag hides the window; put it back where it was.
    if (wasVisible)
        show();
}

void WidgetPanel::setShortcutTip(bool show, const QString& notice)
{
    m_tipText->setText(notice.isEmpty()
            ? tipPrefix.toString() + GlobalHotKey::shortcutText.toString() + tipSuffix.toString()
            : notice);
    m_tip->setVisible(show);
}

void WidgetPanel::bringToFront()
{
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

void WidgetPanel::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_dragOffset = event->globalPosition().toPoint() - frameGeometry().topLeft();
    QWidget::mousePressEvent(event);
}

void WidgetPanel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragOffset && (event->buttons() & Qt::LeftButton))
        move(event->globalPosition().toPoint() - *m_dragOffset);
    QWidget::mouseMoveEvent(event);
}

void WidgetPanel::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_dragOffset) {
        m_dragOffset.reset();
        Q_EMIT frameChanged();
    }
    QWidget::mouseReleaseEvent(event);
}

void WidgetPanel::mouseDoubleClickEvent(QMouseEvent* event)
{
    m_manager.openInApp(m_model->item());
    QWidget::mouseDoubleClickEvent(event);
}

void WidgetPanel::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Q_EMIT frameChanged();
}

void WidgetPanel::paintEvent(QPaintEvent*)
{
    // A rounded card with a hairline edge: without a title bar the edge is what tells the
    // panel apart from the window behind it.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, true);
    QPainterPath card;
    card.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    painter.fillPath(card, palette().color(QPalette::Base));
    QColor edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(0.18);
    painter.setPen(QPen(edge, 1));
    painter.drawPath(card);
}

} // namespace tessary
