#pragma once

#include <QMenu>

namespace tessary {

class MultiPeriodChoice;

// Every preset as a toggle in preset order, then "Reset to Defaults".
class MultiPeriodMenu : public QMenu {
    Q_OBJECT

public:
    static constexpr QStringView resetText = u"Reset to Defaults";

    explicit MultiPeriodMenu(MultiPeriodChoice& choice, QWidget* parent = nullptr);

private:
    void refreshChecks();

    MultiPeriodChoice& m_choice;
    QList<QAction*> m_toggles;
};

} // namespace tessary
