#include "DiskFull.h"

#include <QDir>
#include <QFile>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

// Written only while no directory is full, so the writers never see it change under them.
char fullDirectory[4096];
std::atomic<bool> full { false };

// Whether `descriptor` is a file below the full directory. Qt's save files are often
// unnamed (O_TMPFILE), which the kernel shows as "<directory>/#<inode> (deleted)".
bool refused(int descriptor)
{
    if (!full.load(std::memory_order_acquire))
        return false;
    char link[64];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    char target[4096];
    const ssize_t length = ::readlink(link, target, sizeof target - 1);
    if (length <= 0)
        return false;
    target[length] = '\0';
    return std::strncmp(target, fullDirectory, std::strlen(fullDirectory)) == 0;
}

template <class Function> Function next(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

ssize_t noSpace()
{
    errno = ENOSPC;
    return -1;
}

} // namespace

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t)>("write");
    return refused(descriptor) ? noSpace() : real(descriptor, bytes, size);
}

ssize_t writev(int descriptor, const struct iovec* pieces, int count)
{
    static const auto real = next<ssize_t (*)(int, const struct iovec*, int)>("writev");
    return refused(descriptor) ? noSpace() : real(descriptor, pieces, count);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
    return refused(descriptor) ? noSpace() : real(descriptor, bytes, size, offset);
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64");
    return refused(descriptor) ? noSpace() : real(descriptor, bytes, size, offset);
}

int fsync(int descriptor)
{
    static const auto real = next<int (*)(int)>("fsync");
    return refused(descriptor) ? static_cast<int>(noSpace()) : real(descriptor);
}

int fdatasync(int descriptor)
{
    static const auto real = next<int (*)(int)>("fdatasync");
    return refused(descriptor) ? static_cast<int>(noSpace()) : real(descriptor);
}

} // extern "C"

namespace tessary::test {

DiskFull::DiskFull(const QString& directory)
{
    const QByteArray path = QFile::encodeName(QDir(directory).canonicalPath() + u'/');
    Q_ASSERT(!full && path.size() < qsizetype(sizeof fullDirectory));
    std::memcpy(fullDirectory, path.constData(), path.size() + 1);
    full.store(true, std::memory_order_release);
}

DiskFull::~DiskFull()
{
    full.store(false, std::memory_order_release);
}

} // namespace tessary::test
