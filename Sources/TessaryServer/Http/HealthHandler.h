#pragma once

#include "HttpExchange.h"
#include "TessaryServer/Data/DataError.h"

#include <expected>
#include <functional>
#include <memory>

namespace tessary::server {

class RefreshState;

// GET /healthz, for load balancers and whoever runs the server: 200 while the database
// answers, 503 with the reason when it does not, so traffic moves to the processes that still
// reach it; and, when the server refreshes prices daily, when it last did, when it will next,
// and which symbols failed last time.
class HealthHandler {
public:
    using Probe = std::function<std::expected<void, DataError>()>;

    HealthHandler(Probe probe, std::shared_ptr<const RefreshState> refresh);

    static bool serves(const QString& path);
    HttpResponse handle(const HttpRequest& request) const;

private:
    Probe m_probe;
    std::shared_ptr<const RefreshState> m_refresh;
};

} // namespace tessary::server
