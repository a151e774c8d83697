#include "Preferences.h"

namespace tessary {

namespace {
const QString logScaleKey = QStringLiteral("logScale");
const QString highlightsKey = QStringLiteral("highlights");
const QString multiPeriodsKey = QStringLiteral("multiPeriods");
const QString floatingWidgetsKey = QStringLiteral("floatingWidgets");
const QString widgetShortcutTipSeenKey = QStringLiteral("widgetShortcutTipSeen");
const QString tourSeenKey = QStringLiteral("tourSeen");
const QString checksForUpdatesKey = QStringLiteral("checkForUpdatesAutomatically");
} // namespace

Preferences::Preferences()
    : m_settings(std::make_unique<QSettings>())
{
}

Preferences::Preferences(const QString& iniFile)
    : m_settings(std::make_unique<QSettings>(iniFile, QSettings::IniFormat))
{
}

bool Preferences::logScale() const
{
    return m_settings->value(logScaleKey, false).toBool();
}

void Preferences::setLogScale(bool on)
{
    m_settings->setValue(logScaleKey, on);
    m_settings->sync();
}

QHash<QString, QStringList> Preferences::highlights() const
{
    // A damaged value reads as no highlights rather than as an error: they are a convenience.
    QHash<QString, QStringList> result;
    const QVariantMap stored = m_settings->value(highlightsKey).toMap();
    for (auto it = stored.constBegin(); it != stored.constEnd(); ++it) {
        const QStringList tickers = it.value().toStringList();
        if (!tickers.isEmpty())
            result.insert(it.key(), tickers);
    }
    return result;
}

void Preferences::setHighlights(const QHash<QString, QStringList>& highlights)
{
    QVariantMap stored;
    for (auto it = highlights.constBegin(); it != highlights.constEnd(); ++it) {
        if (!it.value().isEmpty())
            stored.insert(it.key(), it.value());
    }
    m_settings->setValue(highlightsKey, stored);
    m_settings->sync();
}

QString Preferences::multiPeriods() const
{
    return m_settings->value(multiPeriodsKey).toString();
}

void Preferences::setMultiPeriods(const QString& encoded)
{
    m_settings->setValue(multiPeriodsKey, encoded);
    m_settings->sync();
}

bool Preferences::featureFlag(const QString& key) const
{
    return m_settings->value(key, false).toBool();
}

void Preferences::setFeatureFlag(const QString& key, bool on)
{
    m_settings->setValue(key, on);
    m_settings->sync();
}

QByteArray Preferences::floatingWidgets() const
{
    return m_settings->value(floatingWidgetsKey).toString().toUtf8();
}

void Preferences::setFloatingWidgets(const QByteArray& json)
{
    m_settings->setValue(floatingWidgetsKey, QString::fromUtf8(json));
    m_settings->sync();
}

bool Preferences::widgetShortcutTipSeen() const
{
    return m_settings->value(widgetShortcutTipSeenKey, false).toBool();
}

void Preferences::setWidgetShortcutTipSeen()
{
    m_settings->setValue(widgetShortcutTipSeenKey, true);
    m_settings->sync();
}

bool Preferences::tourSeen() const
{
    return m_settings->value(tourSeenKey, false).toBool();
}

void Preferences::setTourSeen()
{
    m_settings->setValue(tourSeenKey, true);
    m_settings->sync();
}

bool Preferences::checksForUpdates() const
{
    return m_settings->value(checksForUpdatesKey, false).toBool();
}

void Preferences::setChecksForUpdates(bool on)
{
    m_settings->setValue(checksForUpdatesKey, on);
    m_settings->sync();
}

} // namespace tessary
