#pragma once

#include <QString>

namespace tessary::test {

// While one exists, every write to a file below `directory` fails with ENOSPC, as on a full
// disk, whichever thread or library makes it (Qt's files, SQLite). A test executable gets this
// by linking the TessaryDiskFull object library, whose write(), pwrite() and fsync() stand in
// front of the C library's. One at a time.
class DiskFull {
public:
    explicit DiskFull(const QString& directory);
    ~DiskFull();
    DiskFull(const DiskFull&) = delete;
    DiskFull& operator=(const DiskFull&) = delete;
};

} // namespace tessary::test
