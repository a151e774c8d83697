#include "FeatureFlagsSection.h"

#include "Tessary/Shell/FeatureFlags.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace tessary {

FeatureFlagsSection::FeatureFlagsSection(FeatureFlags& flags, QWidget* parent)
    : QWidget(parent)
    , m_flags(flags)
{
    setObjectName(QStringLiteral("featureFlags"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* rows = new QFormLayout;
    for (const Feature feature : allFeatures) {
        auto* channel = new QLabel(rawValue(accessOf(feature)), this);
        channel->setForegroundRole(QPalette::PlaceholderText);
        rows->addRow(rawValue(feature), channel);
    }
    layout->addLayout(rows);
    m_beta = new QCheckBox(betaText.toString(), this);
    m_beta->setChecked(m_flags.betaEnabled());
    connect(m_beta, &QCheckBox::toggled, &m_flags, &FeatureFlags::setBetaEnabled);
    m_internal = new QCheckBox(internalText.toString(), this);
    m_internal->setChecked(m_flags.internalEnabled());
    connect(m_internal, &QCheckBox::toggled, &m_flags, &FeatureFlags::setInternalEnabled);
    layout->addWidget(m_beta);
    layout->addWidget(m_internal);
    auto* explanation = new QLabel(note.toString(), this);
    explanation->setWordWrap(true);
    explanation->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(explanation);
}

} // namespace tessary
