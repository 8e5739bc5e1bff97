#pragma once

#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <sys/stat.h>

namespace gateway::platform::testing {

/// The bytes that the files below a folder occupy on their volume, found by asking each. Thread: any.
inline qint64 occupiedBytes(const QString &folder)
{
    constexpr qint64 kBlock = 512; // the unit of st_blocks, whatever the volume's own blocks are
    qint64 bytes = 0;
    QDirIterator files(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        struct stat status = {};
        if (::lstat(QFile::encodeName(files.next()).constData(), &status) == 0) {
            bytes += status.st_blocks * kBlock;
        }
    }
    return bytes;
}

} // namespace gateway::platform::testing
