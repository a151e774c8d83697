#include "AtomicFile.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>

namespace tessary {

QString FileError::description() const
{
    return QStringLiteral("Couldn’t write %1: %2").arg(path, reason);
}

std::expected<void, FileError> writeFileAtomically(
    const QString& path, const QByteArray& bytes, std::optional<QFileDevice::Permissions> permissions)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return std::unexpected(FileError { path, file.errorString() });
    if (permissions && !file.setPermissions(*permissions)) {
        file.cancelWriting();
        return std::unexpected(FileError { path, QStringLiteral("could not restrict its permissions") });
    }
    // The write only fills QSaveFile's buffer; the disk is reached when it is flushed, and
    // Qt 6.4's commit() does not notice a failed flush (a full disk would leave an empty file
    // renamed over the old one). Flushing here catches it while the old file is untouched.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return std::unexpected(FileError { path, reason });
    }
    if (!file.commit())
        return std::unexpected(FileError { path, file.errorString() });
    return {};
}

std::optional<QByteArray> readWholeFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

std::optional<QString> keepCorruptFileAside(const QString& path)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QString aside = path + QStringLiteral(".corrupt-") + stamp;
    if (!QFile::rename(path, aside))
        return std::nullopt;
    return aside;
}

} // namespace tessary
