#pragma once

#include "Tessary/Shell/AtomicFile.h"

#include <QString>

#include <expected>
#include <optional>

namespace tessary {

// The stored session: the bearer token and, once known, the account's e-mail address.
struct Credentials {
    QString token;
    std::optional<QString> email;

    friend bool operator==(const Credentials&, const Credentials&) = default;

    // Nothing when the file is missing or damaged: either way the user is signed out.
    static std::optional<Credentials> read(const QString& path);
    // Replaces the file atomically, readable by its owner alone whatever the umask.
    std::expected<void, FileError> write(const QString& path) const;
};

} // namespace tessary
