#pragma once

#include "Accounts.h"
#include "TessaryServer/Http/HttpExchange.h"

namespace tessary::server {

// The account's settings document, with "Authorization: Bearer TOKEN":
//   GET /account  200, the document as last stored, its version in a strong ETag
//   PUT /account  with "If-Match: ETAG": the body (a JSON object up to 2 MB) stored whole as
//                 the next version, 200 with the new ETag; 409 with the current document and
//                 its ETag when the version moved on; 428 without If-Match
class SettingsHandlers {
public:
    explicit SettingsHandlers(Accounts& accounts);

    HttpResponse handle(const HttpRequest& request);

private:
    HttpResponse read(const HttpRequest& request);
    HttpResponse write(const HttpRequest& request);

    Accounts& m_accounts;
};

} // namespace tessary::server
