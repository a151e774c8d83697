#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QString>

#include <chrono>
#include <expected>
#include <optional>
#include <stop_token>

namespace tessary::server {

// How politely one provider is asked.
struct FetchPolicy {
    double requestsPerSecond = 2;
    int retries = 4;
    // The first retry waits this long, each further one twice as long as the one before.
    std::chrono::milliseconds backoff { 2000 };
    // A request that receives nothing for this long is given up (and retried).
    std::chrono::milliseconds timeout { 30000 };
};

// A provider's answer that was not worth retrying: any 2xx, or a 4xx other than 429.
struct HttpAnswer {
    int status = 0;
    QByteArray body;
};

// One provider's HTTP client. Requests block the calling thread (a command line run, or the
// server's refresh thread, never a thread that serves requests), are paced to the provider's
// rate, and are retried with exponential back-off on 429, 5xx, time-outs and dropped
// connections. A 429 or 503 with Retry-After waits as long as the provider asks.
class ProviderClient {
public:
    // A stop request ends a wait and aborts a request under way (the server is shutting down).
    explicit ProviderClient(FetchPolicy policy, std::stop_token stop = {});

    // The answer, or why there was none after the last retry ("HTTP 503 after 5 attempts").
    std::expected<HttpAnswer, QString> get(const QNetworkRequest& request);

private:
    struct Attempt {
        std::optional<HttpAnswer> answer; // set when no retry is needed
        QString trouble; // otherwise what went wrong
        std::optional<std::chrono::milliseconds> retryAfter;
    };
    Attempt once(QNetworkRequest request);
    void pace();
    void sleep(std::chrono::steady_clock::duration duration) const;

    FetchPolicy m_policy;
    std::stop_token m_stop;
    QNetworkAccessManager m_network;
    std::optional<std::chrono::steady_clock::time_point> m_lastRequest;
};

} // namespace tessary::server
