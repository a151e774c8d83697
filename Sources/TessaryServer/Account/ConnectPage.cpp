#include "ConnectPage.h"

namespace tessary::server {

namespace {

const auto pageTitle = QStringLiteral("Connect Tessary");
const auto signInHeading = QStringLiteral("Sign in to Tessary");
const auto emailLabel = QStringLiteral("E-mail");
const auto passwordLabel = QStringLiteral("Password");
const auto signupLabel = QStringLiteral("Create a new account with this e-mail and password");
const auto connectQuestion = QStringLiteral("Connect Tessary on %1?");
const auto connectExplanation = QStringLiteral("It will sync your lists with this account until you sign out there.");
const auto approveLabel = QStringLiteral("Approve");
const auto denyLabel = QStringLiteral("Deny");
// Shown for a request whose `name` is empty.
const auto unnamedComputer = QStringLiteral("this computer");

const auto styleSheet = QStringLiteral(
    ":root{color-scheme:light dark;--bg:#f8f9fb;--card:#fff;--text:#09090b;--muted:#52525b;--line:#e4e4e7;"
    "--accent:#2563eb;--error:#b91c1c;--error-bg:#fef2f2}\n"
    "@media (prefers-color-scheme:dark){:root{--bg:#09090b;--card:#18181b;--text:#fafafa;--muted:#a1a1aa;"
    "--line:#3f3f46;--accent:#3b82f6;--error:#fecaca;--error-bg:#450a0a}}\n"
    "*{box-sizing:border-box}"
    "body{margin:0;padding:16px;min-height:100vh;display:grid;place-items:center;"
    "font-family:-apple-system,system-ui,sans-serif;background:var(--bg);color:var(--text)}\n"
    "main{width:100%;max-width:400px;padding:32px;background:var(--card);border:1px solid var(--line);"
    "border-radius:18px;box-shadow:0 16px 40px -16px rgba(9,9,11,.18)}\n"
    "h1{font-size:1.3rem;margin:0 0 12px;text-align:center}h2{font-size:1.05rem;margin:24px 0 6px}"
    "p{margin:0;color:var(--muted);line-height:1.5}svg{display:block;margin:0 auto 14px;color:var(--accent)}\n"
    "label{display:block;font-size:.9rem;font-weight:600;margin:14px 0 6px}"
    ".check{display:flex;gap:8px;align-items:center;font-weight:400}\n"
    "input[type=email],input[type=password]{width:100%;padding:10px 12px;font:inherit;color:inherit;"
    "background:transparent;border:1px solid var(--line);border-radius:10px}\n"
    ".error{color:var(--error);background:var(--error-bg);padding:10px 12px;border-radius:10px;margin:12px 0 0}\n"
    ".actions{display:flex;flex-direction:row-reverse;gap:12px;margin-top:20px}"
    "button{flex:1;padding:11px;font:inherit;font-weight:600;border-radius:10px;border:1px solid var(--line);"
    "background:transparent;color:inherit;cursor:pointer}"
    "button.primary{background:var(--accent);border-color:var(--accent);color:#fff}");

const auto icon = QStringLiteral(
    "<svg width=\"44\" height=\"44\" viewBox=\"0 0 44 44\" aria-hidden=\"true\">"
    "<rect x=\"1\" y=\"1\" width=\"42\" height=\"42\" rx=\"11\" fill=\"none\" stroke=\"currentColor\" "
    "stroke-width=\"2\"/><polyline points=\"9,30 17,21 24,26 35,13\" fill=\"none\" stroke=\"currentColor\" "
    "stroke-width=\"3\" stroke-linecap=\"round\" stroke-linejoin=\"round\"/></svg>");

QString escaped(const QString& text)
{
    return text.toHtmlEscaped();
}

QString document(const QString& title, const QString& content)
{
    return QStringLiteral("<!doctype html><html lang=\"en\"><head><meta charset=\"utf-8\">"
                          "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
                          "<meta name=\"color-scheme\" content=\"light dark\"><title>")
        + escaped(title) + QStringLiteral("</title>\n<style>") + styleSheet
        + QStringLiteral("</style></head>\n<body><main>") + icon + content + QStringLiteral("</main></body></html>\n");
}

QString hidden(const char* name, const QString& value)
{
    return QStringLiteral("<input type=\"hidden\" name=\"%1\" value=\"%2\">")
        .arg(QLatin1StringView(name), escaped(value));
}

} // namespace

QByteArray ConnectPage::html() const
{
    const QString name = request.name.isEmpty() ? unnamedComputer : request.name;
    QString form = QStringLiteral("<h1>") + escaped(signInHeading) + QStringLiteral("</h1>");
    if (!message.isEmpty())
        form += QStringLiteral("<p class=\"error\" role=\"alert\">") + escaped(message) + QStringLiteral("</p>");
    // Relative, so a server published under a path prefix still gets the post.
    form += QStringLiteral("<form method=\"post\" action=\"mac\">");
    form += hidden("challenge", request.challenge) + hidden("state", request.state)
        + hidden("port", QString::number(request.port)) + hidden("name", request.name) + hidden("form", formToken);
    form += QStringLiteral("<label for=\"email\">%1</label><input id=\"email\" type=\"email\" name=\"email\" "
                           "autocomplete=\"username\" required autofocus value=\"%2\">")
                .arg(escaped(emailLabel), escaped(email));
    form += QStringLiteral("<label for=\"password\">%1</label><input id=\"password\" type=\"password\" "
                           "name=\"password\" autocomplete=\"current-password\" required>")
                .arg(escaped(passwordLabel));
    if (offerSignup) {
        form += QStringLiteral("<label class=\"check\"><input type=\"checkbox\" name=\"signup\" value=\"1\">%1</label>")
                    .arg(escaped(signupLabel));
    }
    form += QStringLiteral("<h2>") + escaped(connectQuestion.arg(name)) + QStringLiteral("</h2><p>")
        + escaped(connectExplanation) + QStringLiteral("</p>");
    // Approve comes first so Enter in a field approves; the row is reversed on screen. Deny
    // needs no password, so it skips the browser's field checks.
    form += QStringLiteral("<div class=\"actions\"><button class=\"primary\" type=\"submit\" name=\"decision\" "
                           "value=\"approve\">%1</button><button type=\"submit\" name=\"decision\" value=\"deny\" "
                           "formnovalidate>%2</button></div></form>")
                .arg(escaped(approveLabel), escaped(denyLabel));
    return document(pageTitle, form).toUtf8();
}

QByteArray messagePage(const QString& title, const QString& message)
{
    return document(title,
        QStringLiteral("<h1>") + escaped(title) + QStringLiteral("</h1><p>") + escaped(message)
            + QStringLiteral("</p>"))
        .toUtf8();
}

} // namespace tessary::server
