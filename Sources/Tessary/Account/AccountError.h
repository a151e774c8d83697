#pragma once

#include <QString>

namespace tessary {

// What can go wrong with the account; `description()` is the line Settings and the command
// line show.
struct AccountError {
    enum class Kind { http, signedOut, cancelled, badCallback, transport };

    Kind kind;
    int status = 0; // the HTTP status, for `http`
    QString message; // the network layer's own words, for `transport`

    static AccountError http(int status) { return { Kind::http, status, {} }; }
    static AccountError signedOut() { return { Kind::signedOut, 0, {} }; }
    static AccountError cancelled() { return { Kind::cancelled, 0, {} }; }
    static AccountError badCallback() { return { Kind::badCallback, 0, {} }; }
    static AccountError transport(QString message) { return { Kind::transport, 0, std::move(message) }; }

    QString description() const;
    friend bool operator==(const AccountError&, const AccountError&) = default;
};

} // namespace tessary
