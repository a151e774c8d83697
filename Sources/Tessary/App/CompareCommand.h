#pragma once

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/ListPeriod.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>

namespace tessary {

// `tessary compare`: the rankings of a few tickers, or of a saved list, printed to the
// terminal (or as JSON for scripts), through the same store, client and assembly as the
// window; on request also the chart's export card as a PNG or SVG file, for reports.
struct CompareRequest {
    QStringList symbols;
    std::optional<QString> listName;
    std::optional<QString> benchmark;
    std::optional<ListPeriod> period;
    bool json = false;
    std::optional<QString> png;
    std::optional<QString> svg;
    bool dark = false;
    std::optional<int> scale; // device pixels per point of the PNG
};

// A command line that cannot be carried out; `description()` is the one line printed.
struct CommandLineError {
    QString message;

    QString description() const { return message; }
};

// Reads the arguments after "compare".
std::expected<CompareRequest, CommandLineError> parseCompareArguments(const QStringList& arguments);
// "1Y", a scenario id, or "START..END" (END may be left out: up to today).
std::expected<ListPeriod, CommandLineError> parsePeriodArgument(const QString& text);

QString compareUsage();
// The table, the period covered, skipped tickers and a note on simulated data.
QString formatCompareTable(const Comparison& comparison, const QString& benchmark, const ListPeriod& period);
// An array of rows with the RankRow field names; fractions, absent values left out.
QByteArray formatCompareJson(const Comparison& comparison);

// Whether these arguments ask for a chart file, which needs a QGuiApplication (on the
// offscreen platform) instead of a QCoreApplication.
bool compareDrawsChart(const QStringList& arguments);

// Runs the whole command; returns the exit status. Needs a QCoreApplication, or a
// QGuiApplication when compareDrawsChart().
int runCompareCommand(const QStringList& arguments);

} // namespace tessary
