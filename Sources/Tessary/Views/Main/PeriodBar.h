#pragma once

#include "TessaryWire/Timeframe.h"

#include <QWidget>

#include <map>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QLabel;
class QToolButton;

namespace tessary {

class Store;

// The period of the selection: the primary presets one click away, the others and the
// historical scenarios in menus, a custom range, and the log-scale switch.
class PeriodBar : public QWidget {
    Q_OBJECT

public:
    explicit PeriodBar(Store& store, QWidget* parent = nullptr);

    QAbstractButton* presetButton(Timeframe timeframe) const;
    QToolButton* morePresetsButton() const { return m_more; }
    QToolButton* scenariosButton() const { return m_scenarios; }
    QToolButton* customRangeButton() const { return m_custom; }
    QCheckBox* logScaleSwitch() const { return m_logScale; }
    QString periodLabel() const;

private:
    void refresh();
    void buildCustomRangeMenu();

    Store& m_store;
    QButtonGroup* m_presets = nullptr;
    std::map<Timeframe, QAbstractButton*> m_presetButtons;
    QToolButton* m_more = nullptr;
    QToolButton* m_scenarios = nullptr;
    QToolButton* m_custom = nullptr;
    QLabel* m_label = nullptr;
    QCheckBox* m_logScale = nullptr;
};

} // namespace tessary
