#include "RelatedTickersBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QToolButton>

#include <array>

#include "Tessary/Model/Palette.h"
#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Common/FlowLayout.h"

namespace tessary {

namespace {

const QString headingText = QStringLiteral("✨ Related");
const QString addPrefix = QStringLiteral("Add ");
const QString moreSuffix = QStringLiteral(" more");
const QString showFewerText = QStringLiteral("Show fewer");
const QString categoryCaption = QStringLiteral("Category");
const QString themesCaption = QStringLiteral("Themes");

// The relation kinds as the service names them; each takes its own colour of the palette.
constexpr std::array kinds { "substitute", "underlying", "peer", "category_benchmark", "popular", "shared_themes" };

QColor kindColor(const QString& kind)
{
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (kind == QLatin1StringView(kinds[i]))
            return Palette::seriesColor(i);
    }
    return Palette::mixed();
}

QString pillStyle(const QColor& tint)
{
    QColor fill = tint;
    fill.setAlphaF(0.14F);
    return QStringLiteral("QToolButton { color: %1; background: %2; border: 1px solid %1; border-radius: 10px;"
                          " padding: 2px 8px; }")
        .arg(tint.name(), fill.name(QColor::HexArgb));
}

// The hover card: what the ticker is and why it is offered.
QString cardText(const RelatedTicker& related)
{
    QString card = QStringLiteral("<b>%1</b>").arg(related.ticker.toHtmlEscaped());
    if (related.name)
        card += QStringLiteral(" — ") + related.name->toHtmlEscaped();
    card += QStringLiteral("<br>") + related.label.value_or(related.reason).toHtmlEscaped();
    if (related.category)
        card += QStringLiteral("<br><i>%1:</i> %2").arg(categoryCaption, related.category->toHtmlEscaped());
    if (related.sharedThemes && !related.sharedThemes->isEmpty())
        card += QStringLiteral("<br><i>%1:</i> %2")
                    .arg(themesCaption, related.sharedThemes->join(QStringLiteral(", ")).toHtmlEscaped());
    return card;
}

} // namespace

RelatedTickersBar::RelatedTickersBar(Store& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("relatedTickers"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_heading = new QLabel(headingText, this);
    m_heading->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(m_heading, 0, Qt::AlignTop);
    auto* pills = new QWidget(this);
    m_flow = new FlowLayout(pills, 4);
    layout->addWidget(pills, 1);

    connect(&m_store, &Store::listsChanged, this, &RelatedTickersBar::followSelection);
    connect(&m_store, &Store::selectionChanged, this, &RelatedTickersBar::followSelection);
    connect(&m_store, &Store::universeChanged, this, &RelatedTickersBar::refilter);
    connect(&FeatureFlags::shared(), &FeatureFlags::changed, this, &RelatedTickersBar::followSelection);
    // Edits made before the service was up are asked about once it is.
    connect(&m_store, &Store::serviceConnected, this, [this] {
        m_editKey.reset();
        followSelection();
    });
    followSelection();
}

void RelatedTickersBar::followSelection()
{
    const ComparisonList* list = relatedTickersEnabled() ? m_store.selectedList() : nullptr;
    if (!list) {
        m_editKey.reset();
        m_cancellation.cancel();
        m_response.reset();
        refilter();
        return;
    }
    if (m_editKey != list->tickers) {
        m_editKey = list->tickers;
        startLoad();
    }
    // The benchmark may have changed without the tickers.
    refilter();
}

void RelatedTickersBar::startLoad()
{
    m_cancellation.cancel();
    m_cancellation = Cancellation();
    QCoro::connect(load(*m_editKey, m_cancellation), this, [] {});
}

QCoro::Task<> RelatedTickersBar::load(QStringList tickers, Cancellation cancellation)
{
    QPointer self(this);
    auto answer = co_await m_store.relatedTickers().fetch(tickers, requestLimit, cancellation);
    // A failure leaves the last answer on screen.
    if (!self || cancellation.isCancelled() || !answer)
        co_return;
    present(*answer);
}

void RelatedTickersBar::present(const RelatedResponse& response)
{
    m_response = response;
    refilter();
}

void RelatedTickersBar::refilter()
{
    const ComparisonList* list = m_store.selectedList();
    std::vector<RelatedTicker> shown;
    if (list && m_response)
        shown = shownRelated(*m_response, list->tickers, list->benchmark, m_store.universe());
    if (parentWidget())
        setVisible(!shown.empty());
    if (shown == m_shown)
        return;
    m_shown = std::move(shown);
    rebuild();
    Q_EMIT shownChanged();
}

void RelatedTickersBar::setExpanded(bool expanded)
{
    if (m_expanded == expanded)
        return;
    m_expanded = expanded;
    rebuild();
}

void RelatedTickersBar::rebuild()
{
    // A pill's own click ends up here (the added ticker leaves the bar), so pills are let go
    // of later rather than deleted under their own signal.
    while (QLayoutItem* item = m_flow->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    m_pills.clear();
    const auto total = static_cast<int>(m_shown.size());
    const int visible = m_expanded ? total : std::min(total, collapsedCount);
    for (int i = 0; i < visible; ++i)
        m_pills.append(makePill(m_shown[static_cast<std::size_t>(i)]));
    if (total > collapsedCount) {
        auto* toggle = new QToolButton;
        toggle->setObjectName(QStringLiteral("relatedMore"));
        toggle->setAutoRaise(true);
        if (m_expanded) {
            toggle->setText(showFewerText);
            toggle->setArrowType(Qt::UpArrow);
            toggle->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        } else {
            toggle->setText(QString::number(total - collapsedCount) + moreSuffix);
        }
        connect(toggle, &QToolButton::clicked, this, [this] { setExpanded(!m_expanded); });
        m_pills.append(toggle);
    }
    for (QToolButton* pill : std::as_const(m_pills))
        m_flow->addWidget(pill);
}

QToolButton* RelatedTickersBar::makePill(const RelatedTicker& related)
{
    auto* pill = new QToolButton;
    pill->setText(QStringLiteral("+ ") + related.ticker);
    pill->setAccessibleName(addPrefix + related.ticker);
    pill->setToolTip(cardText(related));
    pill->setStyleSheet(pillStyle(kindColor(related.kind)));
    pill->setCursor(Qt::PointingHandCursor);
    const QString symbol = related.ticker;
    connect(pill, &QToolButton::clicked, this, [this, symbol] { m_store.addTickers({ symbol }); });
    return pill;
}

} // namespace tessary
