#include "ListsPageHandlers.h"

#include "AccountHttp.h"
#include "FormToken.h"
#include "HtmlPage.h"
#include "ListsPage.h"
#include "Secrets.h"

namespace tessary::server {

namespace {

const auto unavailableTitle = QStringLiteral("Your lists are not available right now");
const auto expiredFormText = QStringLiteral("This page had expired. Sign in again.");
const auto expiredSignOutTitle = QStringLiteral("This page has expired");
const auto expiredSignOutText = QStringLiteral("Reload it, then sign out again.");

// What the forms' anti-forgery values are bound to: the sign-in form to its purpose, the
// sign-out form also to the session it ends.
const auto signInPurpose = QStringLiteral("lists sign-in");
const auto signOutPurpose = QStringLiteral("lists sign-out");
constexpr std::chrono::hours signInFormLifetime { 1 };

HttpResponse unavailablePage(const AccountError& error)
{
    return htmlPage(messagePage(unavailableTitle, error.description()), 503);
}

QByteArray sessionCookieHeader(const QString& session, std::chrono::seconds lifetime)
{
    return QByteArray(ListsPageHandlers::sessionCookie) + '=' + session.toLatin1()
        + "; Path=/; Max-Age=" + QByteArray::number(lifetime.count()) + "; HttpOnly; SameSite=Strict";
}

HttpResponse withCookie(HttpResponse response, const QString& session, std::chrono::seconds lifetime)
{
    return withHeader(std::move(response), QByteArrayLiteral("Set-Cookie"), sessionCookieHeader(session, lifetime));
}

// Back to the page; relative, so a server published under a path prefix keeps it.
HttpResponse toPage()
{
    return redirect(QByteArrayLiteral("./"));
}

} // namespace

ListsPageHandlers::ListsPageHandlers(Accounts& accounts, SignInGate& gate)
    : m_accounts(accounts)
    , m_gate(gate)
{
}

bool ListsPageHandlers::serves(QStringView path)
{
    return path == u"/" || path == u"/sign-out";
}

HttpResponse ListsPageHandlers::handle(const HttpRequest& request)
{
    if (request.path == u"/sign-out") {
        if (request.method == "POST")
            return signOut(request);
        return methodNotAllowed(request, QByteArrayLiteral("POST"));
    }
    if (request.method == "GET")
        return page(request);
    if (request.method == "POST")
        return signIn(request);
    return methodNotAllowed(request, QByteArrayLiteral("GET, POST"));
}

HttpResponse ListsPageHandlers::signInForm(const QString& email, const QString& message, int status)
{
    const auto key = m_accounts.formSecret();
    if (!key)
        return unavailablePage(key.error());
    const ListsSignInPage form { formToken(*key, m_accounts.now(), { signInPurpose }), email, message };
    return htmlPage(form.html(), status);
}

HttpResponse ListsPageHandlers::page(const HttpRequest& request)
{
    const std::optional<QString> session = cookie(request, sessionCookie);
    if (!session)
        return signInForm({}, {}, 200);
    const auto account = m_accounts.accountForSession(*session);
    if (!account && account.error().kind == AccountError::Kind::unauthorized) {
        // An expired or ended session: the browser may forget the cookie.
        return withCookie(signInForm({}, {}, 200), {}, std::chrono::seconds(0));
    }
    if (!account)
        return unavailablePage(account.error());
    const auto settings = m_accounts.settings(account->id);
    const auto key = m_accounts.formSecret();
    if (!settings || !key)
        return unavailablePage(settings ? key.error() : settings.error());
    const ListsPage page { account->email, settings->document, settings->version,
        formToken(*key, m_accounts.now(), { signOutPurpose, secretDigest(*session) }) };
    return htmlPage(page.html(), 200);
}

HttpResponse ListsPageHandlers::signIn(const HttpRequest& request)
{
    const QueryItems fields = formFields(request.body);
    const QString email = valueOf(fields, u"email").value_or(QString());
    const auto key = m_accounts.formSecret();
    if (!key)
        return unavailablePage(key.error());
    if (!acceptsFormToken(*key, valueOf(fields, u"form").value_or(QString()), { signInPurpose }, m_accounts.now(),
            signInFormLifetime))
        return signInForm(email, expiredFormText, 403);
    const auto account = m_gate.signIn(email, valueOf(fields, u"password").value_or(QString()), request.clientAddress);
    if (!account) {
        const SignInGate::Refusal& refusal = account.error();
        if (refusal.error.kind == AccountError::Kind::failure)
            return unavailablePage(refusal.error);
        return withRetryAfter(
            signInForm(email, refusal.error.description(), refusal.status), refusal.retryAfterSeconds);
    }
    const auto session = m_accounts.openSession(account->id);
    if (!session)
        return unavailablePage(session.error());
    return withCookie(toPage(), *session, Accounts::sessionLifetime);
}

HttpResponse ListsPageHandlers::signOut(const HttpRequest& request)
{
    const QString session = cookie(request, sessionCookie).value_or(QString());
    const auto key = m_accounts.formSecret();
    if (!key)
        return unavailablePage(key.error());
    const QString form = valueOf(formFields(request.body), u"form").value_or(QString());
    if (!acceptsFormToken(
            *key, form, { signOutPurpose, secretDigest(session) }, m_accounts.now(), Accounts::sessionLifetime))
        return htmlPage(messagePage(expiredSignOutTitle, expiredSignOutText), 403);
    if (const auto closed = m_accounts.closeSession(session); !closed)
        return unavailablePage(closed.error());
    return withCookie(toPage(), {}, std::chrono::seconds(0));
}

} // namespace tessary::server
