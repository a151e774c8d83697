#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;

namespace tessary {

class AccountSection;
class FeatureFlagsSection;
class AccountService;
class MultiPeriodChoice;
class MultiPeriodSettings;
class Preferences;

// The Settings window: one page of sections, the account first.
class SettingsWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr QStringView title = u"Settings";
    static constexpr QStringView checkUpdatesText = u"Check for updates automatically";

    SettingsWindow(
        AccountService& account, MultiPeriodChoice& periods, Preferences& preferences, QWidget* parent = nullptr);

    AccountSection* accountSection() const { return m_account; }
    MultiPeriodSettings* periodSettings() const { return m_periods; }
    // Only in the development build; none otherwise.
    FeatureFlagsSection* featureFlagsSection() const { return m_flags; }
    // Why the widgets' global shortcut is not available; empty hides the line.
    void setHotKeyNotice(const QString& notice);
    QLabel* hotKeyNotice() const { return m_hotKeyNotice; }
    // Off by default: the app asks the release feed only once the user allows it here.
    QCheckBox* checkUpdatesBox() const { return m_checkUpdates; }

private:
    AccountSection* m_account = nullptr;
    MultiPeriodSettings* m_periods = nullptr;
    FeatureFlagsSection* m_flags = nullptr;
    QLabel* m_hotKeyNotice = nullptr;
    QCheckBox* m_checkUpdates = nullptr;
};

} // namespace tessary
