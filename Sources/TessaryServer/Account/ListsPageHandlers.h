#pragma once

#include "Accounts.h"
#include "SignInGate.h"
#include "TessaryServer/Http/HttpExchange.h"

namespace tessary::server {

// The lists page for a browser, which has no bearer token but a session cookie:
//   GET  /          the account's lists with a session, else the sign-in form
//   POST /          the sign-in form: 303 to / with a new session cookie, or the form again
//   POST /sign-out  ends the session (the form carries an anti-forgery value), 303 to /
// The cookie holds a random session token, HttpOnly and SameSite=Strict; the store keeps only
// its digest.
class ListsPageHandlers {
public:
    static constexpr auto sessionCookie = "tessary_session";

    ListsPageHandlers(Accounts& accounts, SignInGate& gate);

    static bool serves(QStringView path);
    HttpResponse handle(const HttpRequest& request);

private:
    HttpResponse page(const HttpRequest& request);
    HttpResponse signIn(const HttpRequest& request);
    HttpResponse signOut(const HttpRequest& request);
    HttpResponse signInForm(const QString& email, const QString& message, int status);

    Accounts& m_accounts;
    SignInGate& m_gate;
};

} // namespace tessary::server
