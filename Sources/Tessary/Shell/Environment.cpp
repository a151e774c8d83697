#include "Environment.h"

namespace tessary {

QString EnvironmentError::description() const
{
    return QStringLiteral("%1 is not a usable %4 (%2): “%3”").arg(variable, reason, value, kind);
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

std::expected<std::optional<std::variant<QDate, double>>, EnvironmentError> hoverSpot(
    const QProcessEnvironment& variables)
{
    const auto value = text(variables, "TESSARY_HOVER");
    if (!value)
        return std::nullopt;
    const QDate day = QDate::fromString(*value, Qt::ISODate);
    if (day.isValid() && value->size() == 10)
        return day;
    bool number = false;
    const double fraction = value->toDouble(&number);
    if (number && fraction >= 0 && fraction <= 1)
        return fraction;
    return std::unexpected(EnvironmentError { QStringLiteral("TESSARY_HOVER"), *value,
        QStringLiteral("a day as yyyy-MM-dd or a fraction from 0 to 1"), QStringLiteral("hover position") });
}

std::expected<std::optional<int>, EnvironmentError> sweepSteps(const QProcessEnvironment& variables)
{
    const auto value = text(variables, "TESSARY_HOVER_SWEEP");
    if (!value)
        return std::nullopt;
    bool number = false;
    const int steps = value->toInt(&number);
    constexpr int mostSteps = 1000;
    if (number && steps >= 2 && steps <= mostSteps)
        return steps;
    return std::unexpected(EnvironmentError { QStringLiteral("TESSARY_HOVER_SWEEP"), *value,
        QStringLiteral("a whole number from 2 to 1000"), QStringLiteral("step count") });
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
        { &Environment::startupTimes, "TESSARY_STARTUP_TIMES" },
        { &Environment::listTour, "TESSARY_LIST_TOUR" },
    };
    for (const auto& [member, name] : texts)
        environment.*member = text(variables, name);
    auto hover = hoverSpot(variables);
    if (!hover)
        return std::unexpected(hover.error());
    environment.hover = *hover;
    auto sweep = sweepSteps(variables);
    if (!sweep)
        return std::unexpected(sweep.error());
    environment.hoverSweep = *sweep;
    return environment;
}

} // namespace tessary
