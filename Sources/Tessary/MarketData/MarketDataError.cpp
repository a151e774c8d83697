#include "MarketDataError.h"

namespace tessary {

QString RequestCancelled::description() const
{
    return QStringLiteral("The request was cancelled.");
}

QString MarketDataError::description() const
{
    return std::visit([](const auto& error) { return error.description(); }, m_value);
}

} // namespace tessary
