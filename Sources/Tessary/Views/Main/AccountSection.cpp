#include "AccountSection.h"

#include "Tessary/Account/AccountService.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString signedOutText = QStringLiteral("Sign in to keep your lists in your account and on every computer.");
const QString waitingText = QStringLiteral("Finish signing in in your browser…");
const QString signedInPrefix = QStringLiteral("Signed in as ");
const QString signedInUnknown = QStringLiteral("Signed in");
const QString signInText = QStringLiteral("Sign In");
const QString signOutText = QStringLiteral("Sign Out");
const QString cancelText = QStringLiteral("Cancel");
const QString copyLinkText = QStringLiteral("Copy link");
const QString linkHint = QStringLiteral("No browser opened? Open this link on this computer:");

} // namespace

AccountSection::AccountSection(AccountService& account, QWidget* parent)
    : QWidget(parent)
    , m_account(account)
{
    setObjectName(QStringLiteral("accountSection"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("accountStatus"));
    m_status->setWordWrap(true);
    layout->addWidget(m_status);

    auto* linkRow = new QHBoxLayout;
    m_link = new QLineEdit(this);
    m_link->setObjectName(QStringLiteral("accountLink"));
    m_link->setReadOnly(true);
    m_link->setPlaceholderText(linkHint);
    m_link->setToolTip(linkHint);
    m_copyLink = new QPushButton(copyLinkText, this);
    connect(m_copyLink, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(m_link->text()); });
    linkRow->addWidget(m_link, 1);
    linkRow->addWidget(m_copyLink);
    layout->addLayout(linkRow);

    auto* buttons = new QHBoxLayout;
    m_signIn = new QPushButton(signInText, this);
    m_signIn->setObjectName(QStringLiteral("signIn"));
    m_cancel = new QPushButton(cancelText, this);
    m_cancel->setObjectName(QStringLiteral("cancelSignIn"));
    m_signOut = new QPushButton(signOutText, this);
    m_signOut->setObjectName(QStringLiteral("signOut"));
    for (QPushButton* button : { m_signIn, m_cancel, m_signOut })
        buttons->addWidget(button);
    buttons->addStretch(1);
    layout->addLayout(buttons);

    m_error = new QLabel(this);
    m_error->setObjectName(QStringLiteral("accountError"));
    m_error->setWordWrap(true);
    m_error->setStyleSheet(QStringLiteral("QLabel { color: #c92a2a; }"));
    layout->addWidget(m_error);

    connect(m_signIn, &QPushButton::clicked, this, [this] { QCoro::connect(m_account.signIn(), this, [](bool) {}); });
    connect(m_cancel, &QPushButton::clicked, &m_account, &AccountService::cancelSignIn);
    connect(m_signOut, &QPushButton::clicked, this, [this] { QCoro::connect(m_account.signOut(), this, [] {}); });
    for (const auto signal :
        { &AccountService::emailChanged, &AccountService::lastErrorChanged, &AccountService::connectUrlChanged })
        connect(&m_account, signal, this, &AccountSection::refresh);
    connect(&m_account, &AccountService::statusChanged, this, &AccountSection::refresh);
    refresh();
}

void AccountSection::refresh()
{
    const AccountService::Status status = m_account.status();
    const bool waiting = status == AccountService::Status::waitingForBrowser;
    switch (status) {
    case AccountService::Status::signedOut:
        m_status->setText(signedOutText);
        break;
    case AccountService::Status::waitingForBrowser:
        m_status->setText(waitingText);
        break;
    case AccountService::Status::signedIn:
        m_status->setText(m_account.email() ? signedInPrefix + *m_account.email() : signedInUnknown);
        break;
    }
    const auto& link = m_account.connectUrl();
    m_link->setText(link ? link->toString(QUrl::FullyEncoded) : QString());
    m_link->setVisible(waiting && link);
    m_copyLink->setVisible(waiting && link);
    m_signIn->setVisible(status == AccountService::Status::signedOut);
    m_cancel->setVisible(waiting);
    m_signOut->setVisible(status == AccountService::Status::signedIn);
    m_error->setText(m_account.lastError().value_or(QString()));
    m_error->setVisible(m_account.lastError().has_value());
}

} // namespace tessary
