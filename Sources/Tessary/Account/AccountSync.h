#pragma once

#include "AccountService.h"
#include "SettingsDocument.h"

#include "Tessary/Store/ListEdit.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>

#include <chrono>
#include <expected>
#include <optional>
#include <vector>

namespace tessary {

// Keeps the account's lists in step with its settings document: reads it whole, shows its
// sets as lists, and writes local edits back a moment later as edits of the whole document,
// guarded by its version so that a change made elsewhere meanwhile is never overwritten.
// Edits stay in `pending` until the server has taken them — also across a restart: the last
// document read and the unsent edits are kept in a file beside the session, so a computer
// that starts without a network still shows the account's lists and loses no edit.
class AccountSync : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultDelay { 1000 };

    // `stateFile` keeps the last document and the unsent edits; what it holds is shown at once
    // and sent with the next write.
    AccountSync(AccountService& account, QString stateFile, QObject* parent = nullptr);

    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }

    QCoro::Task<std::expected<void, AccountError>> pull();
    void enqueue(const ListEdit& edit);
    // Writes now what is pending; resolves when no write is under way any more.
    QCoro::Task<std::expected<void, AccountError>> push();

    const std::vector<ComparisonList>& lists() const { return m_lists; }
    const std::vector<ListEdit>& pending() const { return m_pending; }
    bool isSyncing() const { return m_isSyncing; }
    const std::optional<QString>& syncError() const { return m_syncError; }
    const std::optional<QString>& etag() const { return m_etag; }
    std::optional<QDateTime> lastSynced() const { return m_lastSynced; }
    // Forgets the kept document and the unsent edits for good (the session is over).
    void discardState();

Q_SIGNALS:
    void listsChanged(const std::vector<ComparisonList>& lists);
    void statusChanged();

private:
    void schedulePush();
    void publish();
    void saveState();
    void setStatus(bool syncing, const std::optional<QString>& error);
    void adopt(const QByteArray& body, const QByteArray& etag);

    AccountService& m_account;
    QString m_stateFile;
    std::chrono::milliseconds m_delay = defaultDelay;
    SettingsDocument m_server;
    std::optional<QString> m_etag;
    std::vector<ListEdit> m_pending;
    std::vector<ComparisonList> m_lists;
    bool m_isPushing = false;
    bool m_isSyncing = false;
    bool m_pulled = false;
    quint64 m_pushGeneration = 0;
    std::optional<QString> m_syncError;
    std::optional<QDateTime> m_lastSynced;
};

} // namespace tessary
