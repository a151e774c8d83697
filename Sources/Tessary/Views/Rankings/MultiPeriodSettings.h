#pragma once

#include "TessaryWire/Timeframe.h"

#include <QWidget>

class QCheckBox;

namespace tessary {

class MultiPeriodChoice;

// The Settings window's choice of grid periods: one box per preset and a reset. It edits
// the same choice as the grid's menu, so both always agree.
class MultiPeriodSettings : public QWidget {
    Q_OBJECT

public:
    explicit MultiPeriodSettings(MultiPeriodChoice& choice, QWidget* parent = nullptr);

    QCheckBox* box(Timeframe period) const { return m_boxes[static_cast<qsizetype>(period)]; }

private:
    void refreshChecks();

    MultiPeriodChoice& m_choice;
    QList<QCheckBox*> m_boxes;
};

} // namespace tessary
