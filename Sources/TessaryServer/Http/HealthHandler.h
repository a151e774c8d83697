#pragma once

#include "HttpExchange.h"

namespace tessary::server {

class RefreshState;

// GET /healthz: the server answers, and, when it refreshes prices daily, when it last did,
// when it will next, and which symbols failed last time.
HttpResponse healthResponse(const RefreshState* refresh);

} // namespace tessary::server
