#include "FeatureFlags.h"

#include "Environment.h"

#include "Tessary/Store/Preferences.h"

namespace tessary {

namespace {

std::unique_ptr<FeatureFlags>& sharedInstance()
{
    static std::unique_ptr<FeatureFlags> instance;
    return instance;
}

// Only exactly "1" counts: "true" or "yes" leave the stored choice in force.
bool startValue(const std::optional<QString>& variable, const Preferences& preferences, QStringView key)
{
    return variable == QStringLiteral("1") || preferences.featureFlag(key.toString());
}

} // namespace

QString rawValue(Feature feature)
{
    switch (feature) {
    case Feature::floatingWidget:
        return QStringLiteral("floatingWidget");
    case Feature::relatedTickers:
        return QStringLiteral("relatedTickers");
    case Feature::chartExport:
        return QStringLiteral("chartExport");
    case Feature::benchmarkMultiple:
        return QStringLiteral("benchmarkMultiple");
    case Feature::highlightZoom:
        return QStringLiteral("highlightZoom");
    }
    return {};
}

QString rawValue(FeatureAccess access)
{
    switch (access) {
    case FeatureAccess::free:
        return QStringLiteral("free");
    case FeatureAccess::beta:
        return QStringLiteral("beta");
    case FeatureAccess::internal:
        return QStringLiteral("internal");
    }
    return {};
}

FeatureAccess accessOf(Feature feature)
{
    switch (feature) {
    case Feature::floatingWidget:
    case Feature::relatedTickers:
    case Feature::chartExport:
        return FeatureAccess::free;
    case Feature::benchmarkMultiple:
    case Feature::highlightZoom:
        return FeatureAccess::beta;
    }
    return FeatureAccess::internal;
}

FeatureFlags::FeatureFlags(Options options, QObject* parent)
    : QObject(parent)
    , m_preferences(options.preferences ? std::move(options.preferences) : std::make_shared<Preferences>())
    , m_isDevApp(options.applicationId == devAppId)
    , m_beta(startValue(options.betaVariable, *m_preferences, betaKey))
    , m_internal(startValue(options.internalVariable, *m_preferences, internalKey))
{
}

FeatureFlags& FeatureFlags::shared()
{
    auto& instance = sharedInstance();
    if (!instance) {
        // A malformed service URL elsewhere in the environment is the shell's to report; the
        // two switches read here are plain text either way.
        const auto environment = Environment::read().value_or(Environment {});
        instance = std::make_unique<FeatureFlags>(
            Options { QStringLiteral(TESSARY_APP_ID), environment.beta, environment.internal, nullptr });
    }
    return *instance;
}

void FeatureFlags::install(std::unique_ptr<FeatureFlags> flags)
{
    sharedInstance() = std::move(flags);
}

void FeatureFlags::setBetaEnabled(bool on)
{
    if (on == m_beta)
        return;
    m_beta = on;
    m_preferences->setFeatureFlag(betaKey.toString(), on);
    Q_EMIT changed();
}

void FeatureFlags::setInternalEnabled(bool on)
{
    if (on == m_internal)
        return;
    m_internal = on;
    m_preferences->setFeatureFlag(internalKey.toString(), on);
    Q_EMIT changed();
}

bool FeatureFlags::isEnabled(FeatureAccess access) const
{
    switch (access) {
    case FeatureAccess::free:
        return true;
    case FeatureAccess::beta:
        return m_isDevApp && m_beta;
    case FeatureAccess::internal:
        return m_isDevApp && m_internal;
    }
    return false;
}

} // namespace tessary
