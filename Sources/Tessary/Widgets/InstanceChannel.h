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
// application id and the user, so two users (or a development and a release build) never
// answer each other. `tessary --show-widgets` sends one line and ends.
class InstanceChannel : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView noInstanceText = u"Tessary is not running";

    explicit InstanceChannel(QObject* parent = nullptr);

    static QString socketName();
    // Starts answering; false when another running instance already does.
    bool listen();
    // From the second process: asks the running one to raise its widgets.
    static std::expected<void, InstanceError> sendShowWidgets();

Q_SIGNALS:
    void showWidgetsRequested();

private:
    void accept();

    QLocalServer* m_server = nullptr;
};

} // namespace tessary
