#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

namespace tessary::test {

// A real tessary-server with one account, on 127.0.0.1, for tests of the app's account code.
// It can be stopped and started again on the same data (to cut the network mid-sync).
class AccountServer {
public:
    static constexpr const char* email = "sync@example.com";
    static constexpr const char* password = "a long sync password";

    // `universe`, when given, is a universe CSV imported before the server starts.
    explicit AccountServer(QString executable, const QString& universe = {});
    ~AccountServer();

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    QUrl url() const { return m_url; }
    QString dataDirectory() const { return m_data.path(); }
    // Starts (again) on the same port when it ran before.
    bool start();
    void stop();
    // A bearer token, got the way a browser gets one: the connect page, Approve, the code.
    QString signIn();
    // The output of `tessary-server account ARGUMENTS… --data-dir …`.
    QString account(const QStringList& arguments);

private:
    QString m_executable;
    QTemporaryDir m_data;
    QProcess m_process;
    QUrl m_url;
};

} // namespace tessary::test
