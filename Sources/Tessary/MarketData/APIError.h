#pragma once

#include <QString>

#include <optional>

namespace tessary {

// The one failure the market-data client raises itself: the service answered with a status
// outside 200–299. `message` is the "error" text of its body when it sent one.
struct APIError {
    int status = 0;
    std::optional<QString> message;

    static APIError http(int status, std::optional<QString> message = std::nullopt)
    {
        return APIError { status, std::move(message) };
    }

    // The server's message, else "Server returned 502".
    QString description() const;

    friend bool operator==(const APIError&, const APIError&) = default;
};

} // namespace tessary
