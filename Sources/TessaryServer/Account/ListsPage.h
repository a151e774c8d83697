#pragma once

#include <QByteArray>
#include <QString>

namespace tessary::server {

// The read-only page at the server's root that shows a signed-in browser the lists of its
// account as they are synced: name, tickers, benchmark and period of every list. Everything
// from the document is user data and is HTML-escaped.
struct ListsPage {
    QString email;
    QByteArray document; // the settings document, as stored
    qint64 version = 0;
    QString signOutToken; // the anti-forgery value of the sign-out form

    QByteArray html() const;
};

// The same address without a session: e-mail and password.
struct ListsSignInPage {
    QString formToken;
    QString email; // what was typed before; never the password
    QString message; // a refusal to show above the form

    QByteArray html() const;
};

} // namespace tessary::server
