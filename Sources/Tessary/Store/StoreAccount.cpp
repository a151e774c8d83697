#include "Store.h"

#include <QDir>

namespace tessary {

// The store while an account is signed in: the account's lists in place of the local ones,
// every list edit handed to the synchronisation, and the offer to add the local lists.

namespace {

const QString syncStateFileName = QStringLiteral("account-sync.json");

} // namespace

void Store::startSync()
{
    m_sync = new AccountSync(*m_account, QDir(m_dataDirectory).filePath(syncStateFileName), this);
    connect(m_sync, &AccountSync::listsChanged, m_lists, &ListStore::setAccountLists);
    connect(m_sync, &AccountSync::statusChanged, this, &Store::syncStatusChanged);
    m_lists->setAccountLists(m_sync->lists());
    setImportOffer(
        m_lists->localLists().empty() ? std::nullopt : std::optional(static_cast<int>(m_lists->localLists().size())));
}

void Store::handleAccountStatus()
{
    // A sign-in that just finished: the account's lists take over.
    if (m_account->status() != AccountService::Status::signedIn || m_sync)
        return;
    startSync();
    if (!m_selection || (m_selection->listId() && !selectedList()))
        selectFallback();
    refresh();
    QCoro::connect(m_sync->pull(), this, [](const auto&) {});
}

void Store::setImportOffer(std::optional<int> offer)
{
    if (offer == m_importOffer)
        return;
    m_importOffer = offer;
    Q_EMIT importOfferChanged();
}

void Store::importLocalLists()
{
    if (!m_sync)
        return;
    for (const ComparisonList& list : m_lists->localLists())
        m_sync->enqueue(ListEdit { ListEdit::Kind::create, list });
    setImportOffer(std::nullopt);
}

void Store::declineImport()
{
    setImportOffer(std::nullopt);
}

void Store::handleSignedOut()
{
    // The account's lists go, with any edit the server never took; the local ones, untouched
    // meanwhile, come back.
    if (m_sync) {
        m_sync->discardState();
        m_sync->deleteLater();
        m_sync = nullptr;
        setImportOffer(std::nullopt);
        Q_EMIT syncStatusChanged();
    }
    if (!m_lists->isAccountMode())
        return;
    m_lists->leaveAccountMode();
    if (!m_selection || (m_selection->listId() && !selectedList()))
        selectFallback();
    refresh();
}

} // namespace tessary
