#pragma once

#include <QStringList>

namespace tessary {

// `tessary list`: the user's lists from a terminal — the account's while signed in, written
// back before the command ends — through the same store and synchronisation as the window.
// Returns the exit status; needs a QCoreApplication.
int runListCommand(const QStringList& arguments);

} // namespace tessary
