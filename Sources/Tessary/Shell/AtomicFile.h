#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

#include <expected>
#include <optional>

namespace tessary {

struct FileError {
    QString path;
    QString reason;

    QString description() const;
};

// Writes through a temporary file in the same directory and renames it over the old one, so
// a crash or a full disk leaves the complete old file. `permissions`, when given, are set on
// the temporary file before the rename (a token file must never exist world-readable).
std::expected<void, FileError> writeFileAtomically(
    const QString& path, const QByteArray& bytes, std::optional<QFileDevice::Permissions> permissions = {});

// The whole file, or nothing when it is missing or unreadable.
std::optional<QByteArray> readWholeFile(const QString& path);

// Moves a file we could not read aside as "<name>.corrupt-<UTC timestamp>" so the next save
// cannot destroy what the user had. Returns the new path.
std::optional<QString> keepCorruptFileAside(const QString& path);

} // namespace tessary
