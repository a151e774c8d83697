#include "ProviderClient.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace tessary::server {

namespace {

// A provider asking for more than this is treated as if it had asked for this: a refresh must
// end some time.
constexpr std::chrono::seconds longestRetryAfter { 120 };

std::optional<std::chrono::milliseconds> retryAfter(const QNetworkReply& reply)
{
    bool ok = false;
    const int seconds = reply.rawHeader("Retry-After").trimmed().toInt(&ok);
    if (!ok || seconds < 0)
        return std::nullopt;
    return std::min<std::chrono::milliseconds>(std::chrono::seconds(seconds), longestRetryAfter);
}

} // namespace

ProviderClient::ProviderClient(FetchPolicy policy, std::stop_token stop)
    : m_policy(policy)
    , m_stop(std::move(stop))
{
}

void ProviderClient::sleep(std::chrono::steady_clock::duration duration) const
{
    std::mutex mutex;
    std::condition_variable_any wakeUp;
    std::unique_lock lock(mutex);
    wakeUp.wait_for(lock, m_stop, duration, [] { return false; });
}

void ProviderClient::pace()
{
    using namespace std::chrono;
    const auto now = steady_clock::now();
    if (m_lastRequest && m_policy.requestsPerSecond > 0) {
        const auto gap = duration_cast<steady_clock::duration>(duration<double>(1.0 / m_policy.requestsPerSecond));
        if (const auto wait = *m_lastRequest + gap - now; wait > steady_clock::duration::zero())
            sleep(wait);
    }
    m_lastRequest = steady_clock::now();
}

ProviderClient::Attempt ProviderClient::once(QNetworkRequest request)
{
    pace();
    request.setTransferTimeout(static_cast<int>(m_policy.timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    const std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(
        m_network.get(request), [](QNetworkReply* r) { r->deleteLater(); });
    // Blocking on purpose: the callers are a command line and a thread of its own.
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer stopCheck;
    if (m_stop.stop_possible()) {
        QObject::connect(&stopCheck, &QTimer::timeout, reply.get(), [this, &reply] {
            if (m_stop.stop_requested())
                reply->abort();
        });
        stopCheck.start(100);
    }
    loop.exec();

    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0) {
        if (reply->error() == QNetworkReply::OperationCanceledError)
            return Attempt { std::nullopt, QStringLiteral("timed out"), std::nullopt };
        return Attempt { std::nullopt, reply->errorString(), std::nullopt };
    }
    if (status == 429 || status >= 500)
        return Attempt { std::nullopt, QStringLiteral("HTTP %1").arg(status), retryAfter(*reply) };
    // A body cut short by a dropped connection is not an answer.
    if (reply->error() != QNetworkReply::NoError && status < 400)
        return Attempt { std::nullopt, reply->errorString(), std::nullopt };
    return Attempt { HttpAnswer { status, reply->readAll() }, {}, std::nullopt };
}

std::expected<HttpAnswer, QString> ProviderClient::get(const QNetworkRequest& request)
{
    auto wait = m_policy.backoff;
    for (int attempt = 0;; ++attempt) {
        Attempt result = once(request);
        if (result.answer)
            return std::move(*result.answer);
        if (attempt >= m_policy.retries)
            return std::unexpected(QStringLiteral("%1 after %2 attempts").arg(result.trouble).arg(attempt + 1));
        if (m_stop.stop_requested())
            return std::unexpected(QStringLiteral("stopped"));
        sleep(result.retryAfter.value_or(wait));
        wait *= 2;
    }
}

} // namespace tessary::server
