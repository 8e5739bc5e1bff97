#pragma once

#include "state/received_storage_usage.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QString>

#include <chrono>
#include <map>
#include <optional>
#include <stop_token>

namespace gateway::platform {
class Clock;
class FolderEntry;
} // namespace gateway::platform

namespace gateway::state {

/// Adds up what the files below a folder occupy, and remembers it by folder: the next walk reads only those
/// folders anew whose modification time has moved.
///
/// That is enough for the file store, whose files never change once they have their name: they come whole and
/// synced, so that their blocks are allocated, by a rename, and leave by a removal, and both move the time of
/// their folder. Times tick coarsely, so a folder that changed just before it was read is read again; of such
/// a folder the sizes are remembered by name, so that only the new files are asked for theirs.
///
/// Hidden files and folders are left out, links aren't followed, what can't be read counts nothing.
///
/// Owner: whoever measures. Thread: one at a time.
class StorageWalker
{
public:
    /// \param clock  the one that the volume stamps its folders by; outlives this.
    explicit StorageWalker(const platform::Clock &clock) : m_clock(clock) {}

    /// Walks and blocks for so long. A walk that was stopped gives what it had until then.
    ///
    /// \return the bytes that all regular files below `root` occupy; 0 when it can't be read.
    qint64 usedBytes(const QString &root, const std::stop_token &stop);

    /// How many folders the last walk read.
    int foldersRead() const { return m_foldersRead; }

private:
    struct Folder
    {
        std::optional<std::chrono::nanoseconds> changedAt; ///< when it was read; nothing: to be read
        qint64 ownBytes = 0;
        std::map<QByteArray, Folder> folders;
        QHash<QByteArray, qint64> sizes; ///< by name, while it changes
    };

    qint64 walk(Folder &folder, const QByteArray &path, const std::stop_token &stop);
    void readAnew(Folder &folder, const QByteArray &path, std::chrono::nanoseconds changedAt);
    bool isYoung(std::chrono::nanoseconds changedAt) const;

    const platform::Clock &m_clock;
    QByteArray m_rootPath;
    Folder m_root;
    int m_foldersRead = 0;
};

/// What the file store takes, and what its volume has for this user. Blocks for the length of a walk.
ReceivedStorageUsage measureStorage(StorageWalker &walker, const QString &root, const std::stop_token &stop);

} // namespace gateway::state
