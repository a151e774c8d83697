#pragma once

#include "ListEdit.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <optional>
#include <vector>

namespace tessary {

// The user's lists: those kept on this computer, and — while an account is signed in — the
// account's, which then take their place everywhere. Local lists are saved to `lists.json`
// after every change; account lists are only announced through `edited`, for the account to
// write.
class ListStore : public QObject {
    Q_OBJECT

public:
    // Reads `file`; a file that cannot be decoded is moved aside and the lists start empty.
    // `now` gives the list timestamps, in milliseconds since 1970; the system clock when empty.
    explicit ListStore(QString file, std::function<double()> now = {}, QObject* parent = nullptr);
    // Writes an opening that is still waiting for its debounced save.
    ~ListStore() override;

    // The lists in force: the account's while signed in, otherwise the local ones.
    const std::vector<ComparisonList>& lists() const;
    const std::vector<ComparisonList>& localLists() const { return m_local; }
    bool isAccountMode() const { return m_account.has_value(); }
    double now() const { return m_now(); }
    // Shows the account's lists in place of the local ones (again and again as they change).
    void setAccountLists(std::vector<ComparisonList> lists);
    // Back to the local lists, which were never touched meanwhile.
    void leaveAccountMode();

    const ComparisonList* find(const QUuid& id) const;
    // Lists opened last first, as the sidebar shows them.
    std::vector<ComparisonList> byRecency() const;
    // "My List N" with the smallest N not taken.
    QString nextListName(const QString& prefix) const;

    // The operations. Each stamps `lastModifiedAt` (not `touch`), then saves or announces.
    void add(ComparisonList list);
    // Applies `change` to the list; nothing happens when the list is unknown or `change`
    // returns false (no real change).
    bool edit(const QUuid& id, ListEdit::Kind kind, const std::function<bool(ComparisonList&)>& change);
    bool remove(const QUuid& id);

    // The last failed save of the local lists, until a save succeeds.
    const std::optional<QString>& saveError() const { return m_saveError; }

Q_SIGNALS:
    void changed();
    void edited(const ListEdit& edit);
    void saveErrorChanged();

private:
    std::vector<ComparisonList>& current();
    void commit(const ListEdit& edit);
    void save();

    QString m_file;
    std::function<double()> m_now;
    std::vector<ComparisonList> m_local;
    std::optional<std::vector<ComparisonList>> m_account;
    std::optional<QString> m_saveError;
    // Opening a list writes its new access time; clicking through the sidebar should not
    // rewrite the file on every click, so those writes wait a moment and go out together.
    QTimer m_touchSave;
};

} // namespace tessary
