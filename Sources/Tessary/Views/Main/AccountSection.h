#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace tessary {

class AccountService;

// The Settings window's account section: sign in through the browser, wait for it (with the
// link to copy where no browser opens), or see who is signed in and sign out.
class AccountSection : public QWidget {
    Q_OBJECT

public:
    explicit AccountSection(AccountService& account, QWidget* parent = nullptr);

    QPushButton* signInButton() const { return m_signIn; }
    QPushButton* signOutButton() const { return m_signOut; }
    QPushButton* cancelButton() const { return m_cancel; }
    QLabel* statusLabel() const { return m_status; }
    QLabel* errorLabel() const { return m_error; }

private:
    void refresh();

    AccountService& m_account;
    QLabel* m_status = nullptr;
    QLabel* m_error = nullptr;
    QLineEdit* m_link = nullptr;
    QPushButton* m_copyLink = nullptr;
    QPushButton* m_signIn = nullptr;
    QPushButton* m_signOut = nullptr;
    QPushButton* m_cancel = nullptr;
};

} // namespace tessary
