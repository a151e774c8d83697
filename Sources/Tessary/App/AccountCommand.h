#pragma once

#include <QStringList>
#include <QUrl>

namespace tessary {

// `tessary account status|sign-in|sign-out`: the account from a terminal or a script, on the
// same AccountService the window uses. Returns the exit status; needs a QCoreApplication.
int runAccountCommand(const QStringList& arguments);

// Opens `url` the way terminals expect: each command of $BROWSER in turn ("%s" stands for the
// URL, else it is appended), then xdg-open. Returns whether one started.
bool openInTerminalBrowser(const QUrl& url);

} // namespace tessary
