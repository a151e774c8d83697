#pragma once

#include "ConnectRequest.h"

#include <QByteArray>
#include <QString>

namespace tessary::server {

// The page the app's sign-in opens in the browser: e-mail and password (and, when the server
// allows it, creating the account), then "Connect Tessary on NAME?" with Approve and Deny.
// Self-contained HTML (no script, no external assets), light and dark, narrow screens too.
// Everything that came from a request is HTML-escaped.
struct ConnectPage {
    ConnectRequest request;
    QString formToken;
    QString email; // what was typed before, shown again; never the password
    QString message; // a refusal to show above the form
    bool offerSignup = false;

    QByteArray html() const;
};

} // namespace tessary::server
