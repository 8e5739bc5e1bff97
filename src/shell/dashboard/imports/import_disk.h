#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

namespace gateway::shell {

/// A file or folder as the import panel shows it. Thread: a value, any.
struct ImportEntry
{
    QString name;
    bool isFolder = false;
    qint64 size = 0;    ///< bytes of a file
    QDateTime modified; ///< of a file

    bool operator==(const ImportEntry &) const = default;
};

/// What the import panel asks of disks. Each may block for as long as a share doesn't answer. Thread: any.
struct ImportDisk
{
    std::function<bool(const QString &path)> isFolder;

    /// The names of the folders in which volumes are mounted, without a look at the volumes.
    std::function<QStringList(const QString &folder)> mountPointsIn;

    /// Reads a folder, hidden names left out. `found` is called with what the folder itself tells, and, where
    /// there are links, once more with those that lead somewhere: only they may lead to other disks.
    ///
    /// \return false when that isn't all: an entry has a name that isn't UTF-8 or can't be looked at, or the
    /// folder can't be read, or not to its end.
    std::function<bool(const QString &folder, const std::function<void(QList<ImportEntry>)> &found)> read;

    /// The disks of this machine.
    static ImportDisk system();
};

} // namespace gateway::shell
