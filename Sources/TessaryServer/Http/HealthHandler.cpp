#include "HealthHandler.h"

#include "JsonWriter.h"
#include "TessaryServer/Fetch/PriceRefresher.h"

namespace tessary::server {

namespace {

void optionalTime(JsonWriter& json, const char* key, const std::optional<QDateTime>& time)
{
    json.key(key);
    json.optionalString(time ? std::optional(time->toUTC().toString(Qt::ISODate)) : std::nullopt);
}

} // namespace

HttpResponse healthResponse(const RefreshState* refresh)
{
    JsonWriter json(256);
    json.beginObject();
    json.key("status").string(QStringLiteral("ok"));
    if (refresh) {
        const RefreshState::Snapshot state = refresh->snapshot();
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
    json.endObject();
    return HttpResponse::json(json.take());
}

} // namespace tessary::server
