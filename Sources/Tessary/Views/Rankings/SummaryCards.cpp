#include "SummaryCards.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"

namespace tessary {

namespace {

const QString leaderTitle = QStringLiteral("Leader");
const QString worstTitle = QStringLiteral("Worst performer");
const QString benchmarkTitle = QStringLiteral("Benchmark");
const QString beatingTitle = QStringLiteral("Beating ");
const QString ofText = QStringLiteral(" of ");

QString entryText(const std::optional<RankingSummary::Entry>& entry)
{
    if (!entry)
        return QString(Format::missing);
    return entry->ticker + QStringLiteral("  ") + Format::percent(entry->netReturn, true);
}

} // namespace

RankingSummary RankingSummary::of(
    const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow, const QString& benchmark)
{
    RankingSummary summary;
    summary.benchmark.ticker = benchmark;
    summary.benchmark.netReturn = benchmarkRow ? benchmarkRow->netReturn : std::nullopt;
    for (const RankRow& row : rows) {
        if (row.ticker == benchmark && !summary.benchmark.netReturn)
            summary.benchmark.netReturn = row.netReturn;
    }
    for (const RankRow& row : rows) {
        if (row.netReturn) {
            if (!summary.leader || *row.netReturn > *summary.leader->netReturn)
                summary.leader = Entry { row.ticker, row.netReturn };
            if (!summary.worst || *row.netReturn < *summary.worst->netReturn)
                summary.worst = Entry { row.ticker, row.netReturn };
        }
        // A late starter has no return over the whole period to set against the benchmark's.
        if (row.ticker == benchmark || row.incomplete)
            continue;
        ++summary.compared;
        if (row.netReturn && summary.benchmark.netReturn && *row.netReturn > *summary.benchmark.netReturn)
            ++summary.beating;
    }
    return summary;
}

SummaryCards::SummaryCards(QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    for (const QString& title : { leaderTitle, worstTitle, benchmarkTitle, beatingTitle })
        m_cards.push_back(addCard(title));
    setSummary({});
}

SummaryCards::Card SummaryCards::addCard(const QString& title)
{
    auto* frame = new QFrame(this);
    frame->setFrameShape(QFrame::StyledPanel);
    auto* column = new QVBoxLayout(frame);
    // Slim cards: they sit between the chart and the table, and their height comes off the chart.
    column->setContentsMargins(12, 4, 12, 4);
    column->setSpacing(0);
    Card card { new QLabel(title, frame), new QLabel(frame) };
    QFont small = card.title->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    card.title->setFont(small);
    card.title->setForegroundRole(QPalette::PlaceholderText);
    QFont large = card.value->font();
    large.setPointSizeF(large.pointSizeF() * 1.25);
    large.setBold(true);
    card.value->setFont(large);
    column->addWidget(card.title);
    column->addWidget(card.value);
    layout()->addWidget(frame);
    return card;
}

void SummaryCards::setSummary(const RankingSummary& summary)
{
    m_cards[0].value->setText(entryText(summary.leader));
    m_cards[1].value->setText(entryText(summary.worst));
    m_cards[2].value->setText(
        summary.benchmark.ticker.isEmpty() ? QString(Format::missing) : entryText(summary.benchmark));
    m_cards[3].title->setText(beatingTitle + summary.benchmark.ticker);
    m_cards[3].value->setText(QString::number(summary.beating) + ofText + QString::number(summary.compared));
    const auto tint = [](QLabel* label, std::optional<double> value) {
        QPalette palette = label->palette();
        if (value)
            palette.setColor(QPalette::WindowText, *value >= 0 ? Palette::positive() : Palette::negative());
        label->setPalette(value ? palette : QPalette());
    };
    tint(m_cards[0].value, summary.leader ? summary.leader->netReturn : std::nullopt);
    tint(m_cards[1].value, summary.worst ? summary.worst->netReturn : std::nullopt);
}

QStringList SummaryCards::titles() const
{
    QStringList titles;
    for (const Card& card : m_cards)
        titles.append(card.title->text());
    return titles;
}

QStringList SummaryCards::values() const
{
    QStringList values;
    for (const Card& card : m_cards)
        values.append(card.value->text());
    return values;
}

} // namespace tessary
