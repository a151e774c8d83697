#pragma once

#include <QString>

namespace tessary {

// What `tessary --help` prints: every way the one executable is started, and the variables
// that point it elsewhere. Each command's own options are in its own --help.
QString programUsage();

} // namespace tessary
