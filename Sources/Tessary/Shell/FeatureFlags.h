#pragma once

#include <QObject>
#include <QString>

#include <array>
#include <memory>
#include <optional>

namespace tessary {

class Preferences;

// A feature that can ship before it is finished. Settings lists them in this order.
enum class Feature { floatingWidget, relatedTickers, chartExport, benchmarkMultiple, highlightZoom };
inline constexpr std::array allFeatures { Feature::floatingWidget, Feature::relatedTickers, Feature::chartExport,
    Feature::benchmarkMultiple, Feature::highlightZoom };

// Who sees a feature: everybody, or only the development build with its switch on.
enum class FeatureAccess { free, beta, internal };

QString rawValue(Feature feature);
QString rawValue(FeatureAccess access);
FeatureAccess accessOf(Feature feature);

// Decides whether a feature is shown. Only the development build (told apart by its
// application id) can turn beta and internal features on; the shipped build never shows them,
// whatever the environment or the stored preferences say. Consumers ask at the point of use
// and follow `changed`, so a switch in Settings takes effect at once.
class FeatureFlags : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView devAppId = u"dev.tessary.Tessary.Dev";
    static constexpr QStringView betaKey = u"featureFlags.beta";
    static constexpr QStringView internalKey = u"featureFlags.internal";

    struct Options {
        QString applicationId; // the running build's
        std::optional<QString> betaVariable; // TESSARY_BETA
        std::optional<QString> internalVariable; // TESSARY_INTERNAL
        std::shared_ptr<Preferences> preferences;
    };

    explicit FeatureFlags(Options options, QObject* parent = nullptr);

    // The one instance the app's views ask; built from the process on first use unless
    // `install` gave one first.
    static FeatureFlags& shared();
    static void install(std::unique_ptr<FeatureFlags> flags);

    bool isDevApp() const { return m_isDevApp; }
    bool betaEnabled() const { return m_beta; }
    bool internalEnabled() const { return m_internal; }
    void setBetaEnabled(bool on);
    void setInternalEnabled(bool on);

    bool isEnabled(FeatureAccess access) const;
    bool isEnabled(Feature feature) const { return isEnabled(accessOf(feature)); }

Q_SIGNALS:
    void changed();

private:
    std::shared_ptr<Preferences> m_preferences;
    bool m_isDevApp = false;
    bool m_beta = false;
    bool m_internal = false;
};

} // namespace tessary
