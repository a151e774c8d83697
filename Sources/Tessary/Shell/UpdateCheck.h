#pragma once

#include <QCoroTask>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <chrono>
#include <expected>
#include <optional>

class QNetworkAccessManager;

namespace tessary {

// The newest release an update feed announces.
struct Release {
    QString version;
    QString notes;
    QUrl url; // where to get it; empty when the feed names none

    friend bool operator==(const Release&, const Release&) = default;
};

// Why the feed could not be read; `description()` is the one line shown.
struct UpdateError {
    QString reason;

    QString description() const;
    friend bool operator==(const UpdateError&, const UpdateError&) = default;
};

// What a check found, against the version that is running.
struct UpdateCheckResult {
    static constexpr QStringView availableText = u"Tessary %1 is available";
    static constexpr QStringView latestText = u"Tessary %1 is the latest version.";

    Release latest;
    QString running;
    bool available = false;

    // "Tessary 1.3.0 is available", or "Tessary 1.2.0 is the latest version."
    QString headline() const;
};

namespace UpdateFeed {

// The feed's place below the web origin unless TESSARY_UPDATE_FEED names another.
inline constexpr QStringView path = u"updates/linux.json";
inline constexpr std::chrono::milliseconds defaultTimeout { 10'000 };

QUrl defaultUrl(const QUrl& web);
// {"version": "1.3.0", "notes": "…", "url": "https://…"}; only the version is required.
std::expected<Release, UpdateError> decode(const QByteArray& body);
// Compares dotted versions numerically part by part ("1.10" is newer than "1.9", "1.2" equals
// "1.2.0"); a pre-release ("1.3.0-beta.2") comes before its release. None when either
// does not read as a version.
std::optional<std::strong_ordering> compareVersions(QStringView left, QStringView right);
// Reads the feed and compares its release with `running`. Never waits longer than `timeout`.
QCoro::Task<std::expected<UpdateCheckResult, UpdateError>> check(QPointer<QNetworkAccessManager> network, QUrl feed,
    QString running, std::chrono::milliseconds timeout = defaultTimeout);

} // namespace UpdateFeed

} // namespace tessary
