#include "ChartArea.h"

#include "Tessary/Model/DateLabel.h"
#include "Tessary/Store/Store.h"
#include "TessaryWire/MarketTime.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString welcomeTitle = QStringLiteral("Compare anything against the market");
const QString welcomeText
    = QStringLiteral("Make a list of up to 200 stocks, ETFs and funds, pick a benchmark, and see who beat it over "
                     "any period from one day to forty years.");
const QString newListText = QStringLiteral("New comparison list");
const QString curatedIntro = QStringLiteral("Or start from a curated list:");
const QString loadingText = QStringLiteral("Loading prices…");
const QString emptyTitle = QStringLiteral("This list is empty");
const QString emptyText = QStringLiteral("Add tickers to start comparing");
const QString loadFailedTitle = QStringLiteral("Couldn't load prices");
const QString refreshFailedPrefix = QStringLiteral("Couldn't refresh: ");
const QString noDataPrefix = QStringLiteral("No price data for ");
const QString lateStartPrefix = QStringLiteral("Start every ticker on ");
constexpr int maxCuratedShortcuts = 6;

QLabel* wrappingLabel(QWidget* parent, Qt::Alignment alignment = Qt::AlignCenter)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setAlignment(alignment);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

ChartArea::ChartArea(Store& store, QWidget* chart, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("chartArea"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack);

    m_welcome = buildWelcome();
    m_stack->addWidget(m_welcome);

    m_message = new QWidget(this);
    auto* messageLayout = new QVBoxLayout(m_message);
    messageLayout->addStretch(1);
    m_headline = wrappingLabel(m_message);
    m_headline->setObjectName(QStringLiteral("chartHeadline"));
    QFont big = m_headline->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    m_headline->setFont(big);
    m_detail = wrappingLabel(m_message);
    m_detail->setObjectName(QStringLiteral("chartDetail"));
    m_progress = new QProgressBar(m_message);
    m_progress->setMaximumWidth(320);
    m_progress->setTextVisible(false);
    messageLayout->addWidget(m_headline);
    messageLayout->addWidget(m_detail);
    messageLayout->addWidget(m_progress, 0, Qt::AlignHCenter);
    messageLayout->addStretch(2);
    m_stack->addWidget(m_message);

    m_chartPage = new QWidget(this);
    auto* chartLayout = new QVBoxLayout(m_chartPage);
    chartLayout->setContentsMargins(0, 0, 0, 0);
    auto* noticeRow = new QHBoxLayout;
    m_notice = wrappingLabel(m_chartPage, Qt::AlignLeft | Qt::AlignVCenter);
    m_notice->setObjectName(QStringLiteral("chartNotice"));
    m_lateStart = new QPushButton(m_chartPage);
    m_lateStart->setObjectName(QStringLiteral("lateStartButton"));
    m_lateStart->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_lateStart, &QPushButton::clicked, this, [this] {
        if (!m_lateStartDay.isEmpty())
            m_store.alignStart(m_lateStartDay);
    });
    noticeRow->addWidget(m_notice, 1);
    noticeRow->addWidget(m_lateStart);
    chartLayout->addLayout(noticeRow);
    chart->setParent(m_chartPage);
    chartLayout->addWidget(chart, 1);
    m_stack->addWidget(m_chartPage);

    for (const auto signal :
        { &Store::comparisonChanged, &Store::selectionChanged, &Store::listsChanged, &Store::loadErrorChanged })
        connect(&m_store, signal, this, &ChartArea::refresh);
    connect(&m_store, &Store::loadingChanged, this, &ChartArea::refresh);
    connect(&m_store, &Store::catalogChanged, this, &ChartArea::rebuildCuratedShortcuts);
    refresh();
}

QWidget* ChartArea::buildWelcome()
{
    auto* page = new QWidget(this);
    page->setObjectName(QStringLiteral("welcome"));
    auto* layout = new QVBoxLayout(page);
    layout->addStretch(1);
    auto* title = wrappingLabel(page);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.8);
    font.setBold(true);
    title->setFont(font);
    title->setText(welcomeTitle);
    auto* text = wrappingLabel(page);
    text->setText(welcomeText);
    text->setFixedWidth(520);
    // A wrapped label is laid out one line high unless told otherwise, which cut the sentence.
    text->setMinimumHeight(text->heightForWidth(520));
    auto* create = new QPushButton(QStringLiteral("+  ") + newListText, page);
    create->setObjectName(QStringLiteral("welcomeNewList"));
    create->setDefault(true);
    create->setMinimumHeight(36);
    connect(create, &QPushButton::clicked, this, [this] { m_store.addList(); });
    layout->addWidget(title);
    layout->addWidget(text, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    layout->addWidget(create, 0, Qt::AlignHCenter);
    layout->addSpacing(16);
    m_curatedShortcuts = new QVBoxLayout;
    layout->addLayout(m_curatedShortcuts);
    layout->addStretch(2);
    rebuildCuratedShortcuts();
    return page;
}

void ChartArea::rebuildCuratedShortcuts()
{
    while (QLayoutItem* item = m_curatedShortcuts->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const auto& collections = m_store.catalog().collections;
    if (collections.empty())
        return;
    auto* intro = wrappingLabel(m_welcome);
    intro->setText(curatedIntro);
    m_curatedShortcuts->addWidget(intro);
    int shown = 0;
    for (const auto& collection : collections) {
        if (shown++ == maxCuratedShortcuts)
            break;
        const QString id = collection.id;
        auto* button = new QPushButton(collection.emoji.value_or(QString()) + u' ' + collection.name, m_welcome);
        button->setFlat(true);
        button->setCursor(Qt::PointingHandCursor);
        connect(button, &QPushButton::clicked, this, [this, id] { m_store.select(SidebarItem::featured(id)); });
        m_curatedShortcuts->addWidget(button, 0, Qt::AlignHCenter);
    }
}

void ChartArea::setServiceProgress(const QString& stage, int percent)
{
    m_servicePreparing = true;
    m_serviceStage = stage;
    m_servicePercent = percent;
    refresh();
}

void ChartArea::setServiceFailure(const QString& message)
{
    m_serviceFailure = message;
    refresh();
}

QString ChartArea::headline() const
{
    return m_state == State::chart ? QString() : (m_state == State::welcome ? welcomeTitle : m_headline->text());
}

QString ChartArea::detail() const
{
    return m_state == State::chart ? m_notice->text() : m_detail->text();
}

void ChartArea::showMessage(State state, const QString& headline, const QString& detail)
{
    m_state = state;
    m_headline->setText(headline);
    m_detail->setText(detail);
    m_detail->setVisible(!detail.isEmpty());
    m_progress->setVisible(state == State::loading);
    m_stack->setCurrentWidget(m_message);
}

void ChartArea::refresh()
{
    const auto selection = m_store.selection();
    if (!selection) {
        m_state = State::welcome;
        m_stack->setCurrentWidget(m_welcome);
        return;
    }
    const auto& comparison = m_store.comparison();
    const auto& error = m_store.loadError();

    if (!comparison) {
        if (!m_serviceFailure.isEmpty()) {
            showMessage(State::error, loadFailedTitle, m_serviceFailure);
        } else if (m_store.isLoading() || !m_store.isServiceConnected()) {
            const bool preparing = !m_store.isServiceConnected() && m_servicePreparing;
            showMessage(State::loading, preparing ? preparingText.toString() : loadingText,
                preparing ? m_serviceStage : QString());
            m_progress->setRange(0, preparing && m_servicePercent >= 0 ? 100 : 0);
            m_progress->setValue(std::max(0, m_servicePercent));
        } else if (error) {
            showMessage(State::error, loadFailedTitle, *error);
        } else if (m_store.selectedTickers().isEmpty()) {
            showMessage(State::empty, emptyTitle, emptyText);
        } else {
            showMessage(State::loading, loadingText, QString());
        }
        return;
    }

    m_state = State::chart;
    m_stack->setCurrentWidget(m_chartPage);

    // Which tickers asked for came back without a line.
    QStringList missing = comparison->skipped;
    for (const QString& ticker : m_store.selectedTickers()) {
        const bool drawn = std::any_of(comparison->series.begin(), comparison->series.end(),
            [&](const ChartSeries& series) { return series.ticker == ticker; });
        if (!drawn && !missing.contains(ticker))
            missing.append(ticker);
    }
    QStringList notices;
    if (error)
        notices.append(refreshFailedPrefix + *error);
    if (!missing.isEmpty())
        notices.append(noDataPrefix + missing.join(QStringLiteral(", ")));
    m_notice->setText(notices.join(QStringLiteral(" · ")));
    m_notice->setVisible(!notices.isEmpty());

    m_lateStartDay.clear();
    if (!comparison->lateStarters.empty() && m_store.selectionIsEditable()) {
        // The latest first bar is where every ticker has data.
        QDateTime latest = comparison->lateStarters.front().firstDate;
        for (const auto& late : comparison->lateStarters)
            latest = std::max(latest, late.firstDate);
        const QDate day = barDay(*comparison, latest);
        m_lateStartDay = MarketTime::formatDate(day);
        m_lateStart->setText(lateStartPrefix + DateLabel::display(day));
    }
    m_lateStart->setVisible(!m_lateStartDay.isEmpty());
}

} // namespace tessary
