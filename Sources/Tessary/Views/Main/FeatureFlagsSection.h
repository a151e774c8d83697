#pragma once

#include <QWidget>

class QCheckBox;

namespace tessary {

class FeatureFlags;

// The development build's Settings section: every feature with its channel, and the two
// switches that let this build show beta and internal features.
class FeatureFlagsSection : public QWidget {
    Q_OBJECT

public:
    static constexpr QStringView title = u"Feature flags";
    static constexpr QStringView note = u"From Corvane-frontend/features/mac.csv. Only this dev app can turn on beta "
                                        u"and internal features; the shipped app never shows them.";
    static constexpr QStringView betaText = u"Beta features";
    static constexpr QStringView internalText = u"Internal features";

    explicit FeatureFlagsSection(FeatureFlags& flags, QWidget* parent = nullptr);

    QCheckBox* betaSwitch() const { return m_beta; }
    QCheckBox* internalSwitch() const { return m_internal; }

private:
    FeatureFlags& m_flags;
    QCheckBox* m_beta = nullptr;
    QCheckBox* m_internal = nullptr;
};

} // namespace tessary
