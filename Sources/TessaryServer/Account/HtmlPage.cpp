#include "HtmlPage.h"

namespace tessary::server {

namespace {

const auto emailLabel = QStringLiteral("E-mail");
const auto passwordLabel = QStringLiteral("Password");

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
    "button.primary{background:var(--accent);border-color:var(--accent);color:#fff}\n"
    // The lists page: a wider card, a table that scrolls sideways on a phone.
    "main.wide{max-width:880px}.scroll{overflow-x:auto;margin-top:16px}"
    "table{width:100%;border-collapse:collapse;font-size:.92rem}"
    "th,td{text-align:left;vertical-align:top;padding:8px 10px;border-bottom:1px solid var(--line)}"
    "th{color:var(--muted);font-weight:600}td.tickers{font-family:ui-monospace,monospace;word-break:break-word}"
    ".bar{display:flex;justify-content:space-between;align-items:center;gap:12px;margin-top:20px}"
    ".bar form{margin:0}.bar button{flex:none;padding:8px 14px}");

const auto icon = QStringLiteral(
    "<svg width=\"44\" height=\"44\" viewBox=\"0 0 44 44\" aria-hidden=\"true\">"
    "<rect x=\"1\" y=\"1\" width=\"42\" height=\"42\" rx=\"11\" fill=\"none\" stroke=\"currentColor\" "
    "stroke-width=\"2\"/><polyline points=\"9,30 17,21 24,26 35,13\" fill=\"none\" stroke=\"currentColor\" "
    "stroke-width=\"3\" stroke-linecap=\"round\" stroke-linejoin=\"round\"/></svg>");

} // namespace

QString htmlEscaped(const QString& text)
{
    return text.toHtmlEscaped();
}

QByteArray htmlDocument(const QString& title, const QString& content, bool wide)
{
    return (QStringLiteral("<!doctype html><html lang=\"en\"><head><meta charset=\"utf-8\">"
                           "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">"
                           "<meta name=\"color-scheme\" content=\"light dark\"><title>")
        + htmlEscaped(title) + QStringLiteral("</title>\n<style>") + styleSheet
        + QStringLiteral("</style></head>\n<body>")
        + (wide ? QStringLiteral("<main class=\"wide\">") : QStringLiteral("<main>")) + icon + content
        + QStringLiteral("</main></body></html>\n"))
        .toUtf8();
}

QString hiddenField(const char* name, const QString& value)
{
    return QStringLiteral("<input type=\"hidden\" name=\"%1\" value=\"%2\">")
        .arg(QLatin1StringView(name), htmlEscaped(value));
}

QString errorParagraph(const QString& message)
{
    if (message.isEmpty())
        return {};
    return QStringLiteral("<p class=\"error\" role=\"alert\">") + htmlEscaped(message) + QStringLiteral("</p>");
}

QString credentialFields(const QString& email)
{
    return QStringLiteral("<label for=\"email\">%1</label><input id=\"email\" type=\"email\" name=\"email\" "
                          "autocomplete=\"username\" required autofocus value=\"%2\">"
                          "<label for=\"password\">%3</label><input id=\"password\" type=\"password\" "
                          "name=\"password\" autocomplete=\"current-password\" required>")
        .arg(htmlEscaped(emailLabel), htmlEscaped(email), htmlEscaped(passwordLabel));
}

QByteArray messagePage(const QString& title, const QString& message)
{
    return htmlDocument(title,
        QStringLiteral("<h1>") + htmlEscaped(title) + QStringLiteral("</h1><p>") + htmlEscaped(message)
            + QStringLiteral("</p>"));
}

} // namespace tessary::server
