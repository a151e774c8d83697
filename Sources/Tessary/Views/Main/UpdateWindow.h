#pragma once

#include <QUrl>
#include <QWidget>

#include <QCoroTask>

#include <optional>

class QLabel;
class QNetworkAccessManager;
class QPushButton;

namespace tessary {

struct UpdateCheckResult;

// "Check for Updates…": reads the release feed and says whether a newer Tessary exists, with
// its notes and a way to get it. One window, reused by every check.
class UpdateWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr QStringView title = u"Software Update";
    static constexpr QStringView checkingText = u"Checking for updates…";
    static constexpr QStringView downloadText = u"Download…";
    static constexpr QStringView noFeedText = u"Could not check for updates: the service has not started yet";

    explicit UpdateWindow(QWidget* parent = nullptr);

    // Shows the window and checks `feed`; none when the feed is not known yet. A `quiet`
    // check (the automatic one at start-up) shows the window only when there is an update.
    void check(const std::optional<QUrl>& feed, bool quiet = false);
    bool isChecking() const { return m_checking; }

    QLabel* headline() const { return m_headline; }
    QLabel* notes() const { return m_notes; }
    QPushButton* downloadButton() const { return m_download; }

private:
    QCoro::Task<> run(QUrl feed, bool quiet, int generation);
    void present(const QString& headline, const QString& notes, const QUrl& download);

    QNetworkAccessManager* m_network = nullptr;
    QLabel* m_headline = nullptr;
    QLabel* m_notes = nullptr;
    QPushButton* m_download = nullptr;
    QUrl m_downloadUrl;
    int m_generation = 0;
    bool m_checking = false;
};

} // namespace tessary
