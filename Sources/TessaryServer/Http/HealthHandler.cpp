#include "HealthHandler.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tessary::server {

namespace {

constexpr auto healthPath = u"/healthz";

} // namespace

HealthHandler::HealthHandler(Probe probe)
    : m_probe(std::move(probe))
{
}

bool HealthHandler::serves(const QString& path)
{
    return path == healthPath;
}

HttpResponse HealthHandler::handle(const HttpRequest& request) const
{
    if (request.method != "GET" && request.method != "HEAD")
        return HttpResponse::error(405, QStringLiteral("only GET is supported here"));
    const auto reachable = m_probe();
    QJsonObject body {
        { QStringLiteral("status"), reachable ? QStringLiteral("ok") : QStringLiteral("unavailable") },
        { QStringLiteral("database"), reachable.has_value() },
    };
    if (!reachable)
        body.insert(QStringLiteral("error"), reachable.error().description());
    return HttpResponse::json(QJsonDocument(body).toJson(QJsonDocument::Compact), reachable ? 200 : 503);
}

} // namespace tessary::server
