#pragma once

#include "AccountError.h"
#include "TessaryServer/Http/HttpExchange.h"

#include <optional>

namespace tessary::server {

// The replies and request readers the account routes share.

HttpResponse withHeader(HttpResponse response, QByteArray name, QByteArray value);
// With "Retry-After: SECONDS" when there are seconds to wait.
HttpResponse withRetryAfter(HttpResponse response, std::optional<qint64> seconds);
// Nothing of the account routes may be kept by a cache: pages carry form keys, replies carry
// tokens and the user's lists.
HttpResponse uncached(HttpResponse response);
// A page of ours, uncached, under a policy that lets it run nothing and load nothing.
HttpResponse htmlPage(QByteArray body, int status);
// 303 See Other to `location`.
HttpResponse redirect(QByteArray location);
// {"error": message}, uncached.
HttpResponse jsonError(int status, const QString& message);
// The status an account API error is answered with, and its text.
HttpResponse accountApiError(const AccountError& error);
HttpResponse methodNotAllowed(const HttpRequest& request, QByteArray allowed);

// An application/x-www-form-urlencoded body.
QueryItems formFields(const QByteArray& body);
std::optional<QString> valueOf(const QueryItems& fields, QStringView name);
// The token of an "Authorization: Bearer TOKEN" header.
std::optional<QString> bearerToken(const HttpRequest& request);
// The value of a cookie the request carries.
std::optional<QString> cookie(const HttpRequest& request, QByteArrayView name);

} // namespace tessary::server
