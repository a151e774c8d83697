#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

namespace tessary {

class Store;

// Everything that can stand where the chart goes: a welcome for a new user, progress while
// the service starts or prices load, the empty-list and error texts, and the chart itself
// with the notices that qualify it (missing data, a failed refresh, late starters).
class ChartArea : public QWidget {
    Q_OBJECT

public:
    enum class State { welcome, loading, empty, error, chart };

    ChartArea(Store& store, QWidget* chart, QWidget* parent = nullptr);

    State state() const { return m_state; }
    QString headline() const;
    QString detail() const;
    QPushButton* lateStartButton() const { return m_lateStart; }
    QLabel* noticeLabel() const { return m_notice; }
    static constexpr QStringView preparingText = u"Preparing the demo market…";
    // Progress of the embedded service while it prepares the demo market: any list opened
    // meanwhile, curated ones included, says so (with the stage under it) instead of failing.
    void setServiceProgress(const QString& stage, int percent);
    // The service could not start: nothing will load, so say why instead of waiting.
    void setServiceFailure(const QString& message);

private:
    void refresh();
    void showMessage(State state, const QString& headline, const QString& detail);
    QWidget* buildWelcome();
    void rebuildCuratedShortcuts();

    Store& m_store;
    State m_state = State::welcome;
    QStackedWidget* m_stack = nullptr;
    QWidget* m_welcome = nullptr;
    QVBoxLayout* m_curatedShortcuts = nullptr;
    QWidget* m_message = nullptr;
    QLabel* m_headline = nullptr;
    QLabel* m_detail = nullptr;
    QProgressBar* m_progress = nullptr;
    QWidget* m_chartPage = nullptr;
    QLabel* m_notice = nullptr;
    QPushButton* m_lateStart = nullptr;
    QString m_lateStartDay;
    QString m_serviceStage;
    bool m_servicePreparing = false;
    int m_servicePercent = -1;
    QString m_serviceFailure;
};

} // namespace tessary
