#include "Environment.h"

namespace tessary {

QString EnvironmentError::description() const
{
    return QStringLiteral("%1 is not a usable URL (%2): “%3”").arg(variable, reason, value);
}

namespace {

std::optional<QString> text(const QProcessEnvironment& variables, const char* name)
{
    const QString key = QString::fromLatin1(name);
    if (!variables.contains(key))
        return std::nullopt;
    return variables.value(key);
}

std::expected<std::optional<QUrl>, EnvironmentError> serviceURL(const QProcessEnvironment& variables, const char* name)
{
    const auto value = text(variables, name);
    if (!value)
        return std::nullopt;
    const auto failure = [&](const char* reason) {
        return std::unexpected(EnvironmentError { QString::fromLatin1(name), *value, QString::fromLatin1(reason) });
    };
    // The whole value is the URL: no trimming, no guessing of a missing scheme.
    const QUrl url(*value, QUrl::StrictMode);
    if (value->isEmpty() || !url.isValid())
        return failure("it does not parse");
    if (url.scheme() != u"http" && url.scheme() != u"https")
        return failure("it needs an http or https scheme");
    if (url.host().isEmpty())
        return failure("it has no host");
    return url;
}

} // namespace

std::expected<Environment, EnvironmentError> Environment::read(const QProcessEnvironment& variables)
{
    Environment environment;
    for (auto [url, name] :
        { std::pair { &environment.api, "TESSARY_API" }, std::pair { &environment.sessionApi, "TESSARY_SESSION_API" },
            std::pair { &environment.web, "TESSARY_WEB" },
            std::pair { &environment.updateFeed, "TESSARY_UPDATE_FEED" } }) {
        auto parsed = serviceURL(variables, name);
        if (!parsed)
            return std::unexpected(parsed.error());
        *url = *parsed;
    }
    const std::pair<std::optional<QString> Environment::*, const char*> texts[] = {
        { &Environment::dataDir, "TESSARY_DATA_DIR" },
        { &Environment::added, "TESSARY_ADDED" },
        { &Environment::tickerQuery, "TESSARY_TICKER_QUERY" },
        { &Environment::quickJump, "TESSARY_QUICKJUMP" },
        { &Environment::snapshot, "TESSARY_SNAPSHOT" },
        { &Environment::appearance, "TESSARY_APPEARANCE" },
        { &Environment::snapshotSize, "TESSARY_SNAPSHOT_SIZE" },
        { &Environment::exportPath, "TESSARY_EXPORT" },
        { &Environment::beta, "TESSARY_BETA" },
        { &Environment::internal, "TESSARY_INTERNAL" },
        { &Environment::widget, "TESSARY_WIDGET" },
        { &Environment::supportAddress, "TESSARY_SUPPORT_EMAIL" },
        { &Environment::snapshotWindow, "TESSARY_SNAPSHOT_WINDOW" },
        { &Environment::snapshotScroll, "TESSARY_SNAPSHOT_SCROLL" },
    };
    for (const auto& [member, name] : texts)
        environment.*member = text(variables, name);
    return environment;
}

} // namespace tessary
