#include "HealthHandler.h"

#include "JsonWriter.h"
#include "TessaryServer/Fetch/PriceRefresher.h"

namespace tessary::server {

namespace {

constexpr auto healthPath = u"/healthz";

void optionalTime(JsonWriter& json, const char* key, const std::optional<QDateTime>& time)
{
    json.key(key);
    json.optionalString(time ? std::optional(time->toUTC().toString(Qt::ISODate)) : std::nullopt);
}

void writeRefresh(JsonWriter& json, const RefreshState& refresh)
{
    const RefreshState::Snapshot state = refresh.snapshot();
    json.key("refresh").beginObject();
    json.key("provider").string(state.provider);
    json.key("schedule").string(QStringLiteral("daily@") + state.at.toString(u"HH:mm"));
    json.key("running").boolean(state.running);
    optionalTime(json, "last_refresh", state.lastRefresh);
    optionalTime(json, "next_refresh", state.nextRefresh);
    json.key("failures").beginArray();
    for (const QString& failure : state.failures)
        json.string(failure);
    json.endArray();
    json.endObject();
}

} // namespace

HealthHandler::HealthHandler(Probe probe, std::shared_ptr<const RefreshState> refresh)
    : m_probe(std::move(probe))
    , m_refresh(std::move(refresh))
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
    JsonWriter json(256);
    json.beginObject();
    json.key("status").string(reachable ? QStringLiteral("ok") : QStringLiteral("unavailable"));
    json.key("database").boolean(reachable.has_value());
    if (!reachable)
        json.key("error").string(reachable.error().description());
    if (m_refresh)
        writeRefresh(json, *m_refresh);
    json.endObject();
    return HttpResponse::json(json.take(), reachable ? 200 : 503);
}

} // namespace tessary::server
