#include "TempStore.h"

namespace tessary::test {

std::unique_ptr<Store> openStore(const QTemporaryDir& dir, std::function<ComparisonCache::Clock::time_point()> clock)
{
    auto preferences = std::make_shared<Preferences>(dir.filePath(QStringLiteral("preferences.ini")));
    return std::make_unique<Store>(
        Store::Options { dir.filePath(QStringLiteral("data")), preferences, {}, nullptr, std::move(clock) });
}

} // namespace tessary::test
