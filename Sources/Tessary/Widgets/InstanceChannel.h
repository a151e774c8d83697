#pragma once

#include <QObject>
#include <QString>

#include <expected>

class QLocalServer;

namespace tessary {

// Why a running instance could not be reached; `description()` is the line printed.
struct InstanceError {
    QString reason;

    QString description() const { return reason; }
};

// How a second `tessary` process reaches the running one: a local socket named after the
// application id, the user and the data directory, so two users (or a development and a
// release build, or two data directories) never answer each other, while two starts on the
// same lists always meet. `tessary --show-widgets` sends one line and ends; a second
// `tessary` asks the first to raise its window instead of opening the same lists again.
class InstanceChannel : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView noInstanceText = u"Tessary is not running";

    enum class Request { showWidgets, raiseWindow };
    enum class Listening { started, anotherIsRunning, failed };

    explicit InstanceChannel(QString dataDirectory, QObject* parent = nullptr);

    static QString socketName(const QString& dataDirectory);
    // Starts answering, unless another running instance already does.
    Listening listen();
    QString errorString() const;
    // From the second process: asks the running one for `request`.
    static std::expected<void, InstanceError> send(const QString& dataDirectory, Request request);

Q_SIGNALS:
    void showWidgetsRequested();
    void raiseWindowRequested();

private:
    void accept();

    QString m_name;
    QLocalServer* m_server = nullptr;
};

} // namespace tessary
