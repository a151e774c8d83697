#pragma once

#include <QHash>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace tessary {

// The user's preferences, under the key names the rest of the app and its documentation use.
// Every setter writes through at once; a write the disk refuses is reported (`saveError`)
// and made again with the next change.
class Preferences {
public:
    // The platform's per-user store.
    Preferences();
    // A separate file, for tests and for running two instances side by side.
    explicit Preferences(const QString& iniFile);

    bool logScale() const;
    void setLogScale(bool on);

    // List key → highlighted tickers.
    QHash<QString, QStringList> highlights() const;
    void setHighlights(const QHash<QString, QStringList>& highlights);

    QString multiPeriods() const;
    void setMultiPeriods(const QString& encoded);

    // "featureFlags.beta" and "featureFlags.internal": false when never set.
    bool featureFlag(const QString& key) const;
    void setFeatureFlag(const QString& key, bool on);

    // The floating widgets' configurations, one JSON array; empty when never saved.
    QByteArray floatingWidgets() const;
    void setFloatingWidgets(const QByteArray& json);
    bool widgetShortcutTipSeen() const;
    void setWidgetShortcutTipSeen();
    // The first-run tour was dismissed; it is only offered from the Help menu after that.
    bool tourSeen() const;
    void setTourSeen();
    // The user let the app check the release feed at start-up; off until they do.
    bool checksForUpdates() const;
    void setChecksForUpdates(bool on);

    // The last failed write, until one succeeds; `changed` is called whenever it changes.
    const std::optional<QString>& saveError() const { return m_saveError; }
    void onSaveErrorChanged(std::function<void()> changed) { m_saveErrorChanged = std::move(changed); }

private:
    std::unique_ptr<QSettings> open() const;
    void set(const QString& key, const QVariant& value);

    QString m_iniFile; // empty: the platform's store
    std::unique_ptr<QSettings> m_settings;
    std::optional<QString> m_saveError;
    std::function<void()> m_saveErrorChanged;
};

} // namespace tessary
