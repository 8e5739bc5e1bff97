#pragma once

#include "platform/files/file_error.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>

namespace gateway::platform {

/// The single steps from which durable operations are made, one system call's worth of effect each.
///
/// Tests hand in one that fails or forgets. Thread: any. Every function throws FileError; a step that failed
/// has had no effect. Names become durable by `syncFolder` alone.
class FileSystem
{
public:
    virtual ~FileSystem() = default;

    /// Makes a new file, readable for its owner alone; its content is on the disk when this returns.
    /// A file that exists is an error (EEXIST).
    virtual void create(const QString &path, const QByteArray &bytes) = 0;

    /// Makes a new file with the content of `source`, by sharing its blocks where the volume can, else by
    /// copying; readable for its owner alone, its content on the disk when this returns. A destination that
    /// exists is an error (EEXIST).
    virtual void copy(const QString &source, const QString &destination) = 0;

    /// Gives the file `source` a second name; an error across volumes (EXDEV) and on volumes without links.
    virtual void link(const QString &source, const QString &destination) = 0;

    /// Renames within a volume, over a file that may stand there.
    virtual void rename(const QString &from, const QString &to) = 0;

    /// Renames within a volume; a file that stands at `to` is an error (EEXIST).
    virtual void renameToNew(const QString &from, const QString &to) = 0;

    /// Sets when a file was last modified. \param time  since 1970, UTC.
    virtual void setModified(const QString &path, std::chrono::nanoseconds time) = 0;

    virtual void remove(const QString &path) = 0;

    /// Makes one folder, which only its owner may enter. A folder that exists is an error (EEXIST).
    virtual void makeFolder(const QString &path) = 0;

    /// Waits until the content of a file is on the disk.
    virtual void syncFile(const QString &path) = 0;

    /// Waits until the names in a folder are on the disk.
    virtual void syncFolder(const QString &path) = 0;
};

/// The machine's own disks; holds no state.
FileSystem &systemFiles();

} // namespace gateway::platform
