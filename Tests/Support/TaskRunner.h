#pragma once

#include <QCoroTask>
#include <QEventLoop>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>

namespace tessary::test {

// Runs a coroutine on this thread's event loop until it finishes, or gives up after `limit`
// and returns nothing, so a test that would hang fails instead (check with QVERIFY).
template <class T>
std::optional<T> runTask(QCoro::Task<T> task, std::chrono::milliseconds limit = std::chrono::seconds(5))
{
    std::optional<T> result;
    QEventLoop loop;
    QObject context;
    QCoro::connect(std::move(task), &context, [&](T&& value) {
        result.emplace(std::move(value));
        loop.quit();
    });
    if (!result) {
        QTimer::singleShot(limit, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return result;
}

} // namespace tessary::test
