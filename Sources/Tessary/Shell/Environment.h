#pragma once

#include <QDate>
#include <QProcessEnvironment>
#include <QString>
#include <QUrl>

#include <expected>
#include <optional>
#include <variant>

namespace tessary {

// A TESSARY_* value that cannot be used; `description()` is the one line printed before the
// program stops.
struct EnvironmentError {
    QString variable;
    QString value;
    QString reason;
    QString kind = QStringLiteral("URL"); // what the value should have been

    QString description() const;
    friend bool operator==(const EnvironmentError&, const EnvironmentError&) = default;
};

// The TESSARY_* variables the app acts on, read once at start-up and passed down from there.
// A variable that is not set is absent; tests build this struct themselves instead of touching
// the process.
struct Environment {
    std::optional<QUrl> api; // TESSARY_API: market-data service base URL
    std::optional<QUrl> sessionApi; // TESSARY_SESSION_API: account service base URL
    std::optional<QUrl> web; // TESSARY_WEB: web front end
    std::optional<QString> dataDir; // TESSARY_DATA_DIR
    std::optional<QString> added; // TESSARY_ADDED
    std::optional<QString> tickerQuery; // TESSARY_TICKER_QUERY
    std::optional<QString> quickJump; // TESSARY_QUICKJUMP
    std::optional<QString> snapshot; // TESSARY_SNAPSHOT
    std::optional<QString> appearance; // TESSARY_APPEARANCE
    std::optional<QString> snapshotSize; // TESSARY_SNAPSHOT_SIZE
    std::optional<QString> exportPath; // TESSARY_EXPORT
    std::optional<QString> beta; // TESSARY_BETA: "1" turns beta features on (development build)
    std::optional<QString> internal; // TESSARY_INTERNAL: the same for internal features
    std::optional<QString> widget; // TESSARY_WIDGET: open a floating widget at start-up
    std::optional<QUrl> updateFeed; // TESSARY_UPDATE_FEED: the release feed "Check for Updates…" reads
    std::optional<QString> supportAddress; // TESSARY_SUPPORT_EMAIL
    std::optional<QString> snapshotWindow; // TESSARY_SNAPSHOT_WINDOW: main, settings or widget
    std::optional<QString> snapshotScroll; // TESSARY_SNAPSHOT_SCROLL: rows to scroll the rankings by
    std::optional<QString> startupTimes; // TESSARY_STARTUP_TIMES: print when the window and chart were painted
    std::optional<QString> listTour; // TESSARY_LIST_TOUR: lists to switch through, printing memory
    // TESSARY_HOVER: a day (yyyy-MM-dd) or a fraction of the chart's width, 0 to 1, where the
    // chart shows its hover without a pointer, for pictures.
    std::optional<std::variant<QDate, double>> hover;
    // TESSARY_HOVER_SWEEP: how many steps the hover takes from the first bar to the last;
    // with TESSARY_SNAPSHOT, one picture per step.
    std::optional<int> hoverSweep;

    // Reads the variables from `variables` (the process's own by default). A service URL
    // that does not parse as an absolute http(s) URL is an error: there is no fallback.
    static std::expected<Environment, EnvironmentError> read(
        const QProcessEnvironment& variables = QProcessEnvironment::systemEnvironment());

    friend bool operator==(const Environment&, const Environment&) = default;
};

} // namespace tessary
