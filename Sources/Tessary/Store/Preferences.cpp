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
const QString saveErrorText = QStringLiteral("Couldn't save your preferences: %1 could not be written.");
} // namespace

Preferences::Preferences()
    : m_settings(open())
{
}

Preferences::Preferences(const QString& iniFile)
    : m_iniFile(iniFile)
    , m_settings(open())
{
}

std::unique_ptr<QSettings> Preferences::open() const
{
    return m_iniFile.isEmpty() ? std::make_unique<QSettings>()
                               : std::make_unique<QSettings>(m_iniFile, QSettings::IniFormat);
}

void Preferences::set(const QString& key, const QVariant& value)
{
    if (m_saveError) {
        // QSettings keeps its first error for good, so after a failed write only a fresh one
        // can tell whether this one works. It is handed every value, the unsaved ones too.
        auto fresh = open();
        for (const QString& name : m_settings->allKeys())
            fresh->setValue(name, m_settings->value(name));
        m_settings = std::move(fresh);
    }
    m_settings->setValue(key, value);
    m_settings->sync();
    std::optional<QString> error;
    if (m_settings->status() != QSettings::NoError)
        error = saveErrorText.arg(m_settings->fileName());
    if (error == m_saveError)
        return;
    m_saveError = error;
    if (m_saveErrorChanged)
        m_saveErrorChanged();
}

bool Preferences::logScale() const
{
    return m_settings->value(logScaleKey, false).toBool();
}

void Preferences::setLogScale(bool on)
{
    set(logScaleKey, on);
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
    set(highlightsKey, stored);
}

QString Preferences::multiPeriods() const
{
    return m_settings->value(multiPeriodsKey).toString();
}

void Preferences::setMultiPeriods(const QString& encoded)
{
    set(multiPeriodsKey, encoded);
}

bool Preferences::featureFlag(const QString& key) const
{
    return m_settings->value(key, false).toBool();
}

void Preferences::setFeatureFlag(const QString& key, bool on)
{
    set(key, on);
}

QByteArray Preferences::floatingWidgets() const
{
    return m_settings->value(floatingWidgetsKey).toString().toUtf8();
}

void Preferences::setFloatingWidgets(const QByteArray& json)
{
    set(floatingWidgetsKey, QString::fromUtf8(json));
}

bool Preferences::widgetShortcutTipSeen() const
{
    return m_settings->value(widgetShortcutTipSeenKey, false).toBool();
}

void Preferences::setWidgetShortcutTipSeen()
{
    set(widgetShortcutTipSeenKey, true);
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
