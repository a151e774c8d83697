#include "TempStore.h"

namespace tessary::test {

std::unique_ptr<Store> openStore(const QTemporaryDir& dir, std::function<ComparisonCache::Clock::time_point()> clock)
{
    auto preferences = std::make_shared<Preferences>(dir.filePath(QStringLiteral("preferences.ini")));
    auto options = Store::Options::at(dir.filePath(QStringLiteral("data")));
    options.preferences = preferences;
    options.clock = std::move(clock);
    return std::make_unique<Store>(std::move(options));
}

} // namespace tessary::test
