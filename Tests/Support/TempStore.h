#pragma once

#include "Tessary/Store/Store.h"

#include <QTemporaryDir>

#include <memory>

namespace tessary::test {

// A store on a temporary folder: its lists in "data", its preferences in an ini file beside
// them, so a test never reads or writes the user's own. Opening it again on the same folder
// is how tests restart the app.
// `clock` stands in for the steady clock of the comparison cache.
std::unique_ptr<Store> openStore(
    const QTemporaryDir& dir, std::function<ComparisonCache::Clock::time_point()> clock = {});

} // namespace tessary::test
