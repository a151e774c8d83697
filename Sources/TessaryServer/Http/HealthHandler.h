#pragma once

#include "HttpExchange.h"
#include "TessaryServer/Data/DataError.h"

#include <expected>
#include <functional>

namespace tessary::server {

// GET /healthz, for load balancers: 200 while the database answers, 503 with the reason when
// it does not, so traffic moves to the processes that still reach it.
class HealthHandler {
public:
    using Probe = std::function<std::expected<void, DataError>()>;

    explicit HealthHandler(Probe probe);

    static bool serves(const QString& path);
    HttpResponse handle(const HttpRequest& request) const;

private:
    Probe m_probe;
};

} // namespace tessary::server
