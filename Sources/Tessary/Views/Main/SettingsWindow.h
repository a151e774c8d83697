#pragma once

#include <QWidget>

namespace tessary {

class AccountSection;
class AccountService;
class MultiPeriodChoice;
class MultiPeriodSettings;

// The Settings window: one page of sections, the account first.
class SettingsWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr QStringView title = u"Settings";

    SettingsWindow(AccountService& account, MultiPeriodChoice& periods, QWidget* parent = nullptr);

    AccountSection* accountSection() const { return m_account; }
    MultiPeriodSettings* periodSettings() const { return m_periods; }

private:
    AccountSection* m_account = nullptr;
    MultiPeriodSettings* m_periods = nullptr;
};

} // namespace tessary
