#include "ConnectPage.h"

#include "HtmlPage.h"

namespace tessary::server {

namespace {

const auto pageTitle = QStringLiteral("Connect Tessary");
const auto signInHeading = QStringLiteral("Sign in to Tessary");
const auto signupLabel = QStringLiteral("Create a new account with this e-mail and password");
const auto connectQuestion = QStringLiteral("Connect Tessary on %1?");
const auto connectExplanation = QStringLiteral("It will sync your lists with this account until you sign out there.");
const auto approveLabel = QStringLiteral("Approve");
const auto denyLabel = QStringLiteral("Deny");
// Shown for a request whose `name` is empty.
const auto unnamedComputer = QStringLiteral("this computer");

} // namespace

QByteArray ConnectPage::html() const
{
    const QString name = request.name.isEmpty() ? unnamedComputer : request.name;
    QString form = QStringLiteral("<h1>") + htmlEscaped(signInHeading) + QStringLiteral("</h1>");
    form += errorParagraph(message);
    // Relative, so a server published under a path prefix still gets the post.
    form += QStringLiteral("<form method=\"post\" action=\"mac\">");
    form += hiddenField("challenge", request.challenge) + hiddenField("state", request.state)
        + hiddenField("port", QString::number(request.port)) + hiddenField("name", request.name)
        + hiddenField("form", formToken);
    form += credentialFields(email);
    if (offerSignup) {
        form += QStringLiteral("<label class=\"check\"><input type=\"checkbox\" name=\"signup\" value=\"1\">%1</label>")
                    .arg(htmlEscaped(signupLabel));
    }
    form += QStringLiteral("<h2>") + htmlEscaped(connectQuestion.arg(name)) + QStringLiteral("</h2><p>")
        + htmlEscaped(connectExplanation) + QStringLiteral("</p>");
    // Approve comes first so Enter in a field approves; the row is reversed on screen. Deny
    // needs no password, so it skips the browser's field checks.
    form += QStringLiteral("<div class=\"actions\"><button class=\"primary\" type=\"submit\" name=\"decision\" "
                           "value=\"approve\">%1</button><button type=\"submit\" name=\"decision\" value=\"deny\" "
                           "formnovalidate>%2</button></div></form>")
                .arg(htmlEscaped(approveLabel), htmlEscaped(denyLabel));
    return htmlDocument(pageTitle, form);
}

} // namespace tessary::server
