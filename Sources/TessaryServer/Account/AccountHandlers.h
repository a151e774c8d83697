#pragma once

#include "Accounts.h"
#include "ConnectRequest.h"
#include "ListsPageHandlers.h"
#include "SettingsHandlers.h"
#include "SignInGate.h"
#include "TessaryServer/Http/HttpExchange.h"

namespace tessary::server {

// The browser sign-in and the account API, as functions of a parsed request over the
// accounts and one sign-in throttle:
//   GET  /connect/mac   the connect page for the app's challenge, state, port and name
//   POST /connect/mac   the page's form: 303 to the app's loopback /callback, or the page again
//   POST /device/token  {"code","verifier"} → {"token"}
//   DELETE /device/token, GET /account/info   with "Authorization: Bearer TOKEN"
//   GET, PUT /account   the settings document (SettingsHandlers)
//   /, /sign-out        the lists page for a browser (ListsPageHandlers)
// No answer and no error text ever contains a password, a code or a token it was sent.
class AccountHandlers {
public:
    AccountHandlers(Accounts& accounts, bool signup);

    static bool serves(QStringView path);
    HttpResponse handle(const HttpRequest& request);

private:
    HttpResponse connectPage(const HttpRequest& request);
    HttpResponse connectDecision(const HttpRequest& request);
    HttpResponse exchangeCode(const HttpRequest& request);
    HttpResponse accountInfo(const HttpRequest& request);
    HttpResponse revokeToken(const HttpRequest& request);

    // The connect page again, with a fresh form token and a refusal.
    HttpResponse pageAgain(const ConnectRequest& request, const QString& email, const QString& message, int status);
    // Checks the e-mail and password (creating the account first when asked to).
    std::expected<AccountRecord, HttpResponse> signIn(
        const ConnectRequest& connect, const QueryItems& fields, const QString& clientAddress);

    Accounts& m_accounts;
    bool m_signup = false;
    SignInGate m_gate;
    SettingsHandlers m_settings;
    ListsPageHandlers m_listsPage;
};

} // namespace tessary::server
