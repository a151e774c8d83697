#pragma once

#include "Tessary/Model/Comparison.h"

#include <QWidget>

class QLabel;

namespace tessary {

// What the four cards above the rankings say about one comparison.
struct RankingSummary {
    struct Entry {
        QString ticker;
        std::optional<double> netReturn;
    };
    std::optional<Entry> leader; // highest return; the earlier row wins a tie
    std::optional<Entry> worst; // lowest return; the earlier row wins a tie
    Entry benchmark;
    // Tickers of the list, the benchmark and late starters left out, and how many of them returned
    // strictly more than the benchmark. A ticker without a return counts as not beating it.
    int beating = 0;
    int compared = 0;

    static RankingSummary of(
        const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow, const QString& benchmark);
};

// A strip of four cards: "Leader", "Worst performer", "Benchmark" and "Beating …".
class SummaryCards : public QWidget {
    Q_OBJECT

public:
    explicit SummaryCards(QWidget* parent = nullptr);

    void setSummary(const RankingSummary& summary);

    // Each card's title and value as shown, in order (for tests and accessibility).
    QStringList titles() const;
    QStringList values() const;

private:
    struct Card {
        QLabel* title = nullptr;
        QLabel* value = nullptr;
    };
    Card addCard(const QString& title);

    std::vector<Card> m_cards;
};

} // namespace tessary
