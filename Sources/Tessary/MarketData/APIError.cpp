#include "APIError.h"

namespace tessary {

QString APIError::description() const
{
    if (message)
        return *message;
    return QStringLiteral("Server returned %1").arg(status);
}

} // namespace tessary
