#pragma once

#include <QCoroTask>
#include <QString>

#include <cstdio>
#include <functional>

namespace tessary {

class Store;
struct Environment;

// One line to a terminal stream, flushed at once so it interleaves with the other stream.
void printLine(std::FILE* stream, const QString& text);

// Runs a command-line task on `store` once the services it needs are there, in this process's
// event loop, and returns the task's exit status. The market-data service is the one named by
// TESSARY_API or else the built-in one; the account service is TESSARY_SESSION_API's or else the
// built-in one, which then has to be started too.
int runCommandTask(Store& store, const Environment& environment, bool needsMarketData, bool needsAccount,
    const std::function<QCoro::Task<int>()>& task);

} // namespace tessary
