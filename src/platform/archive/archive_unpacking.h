#pragma once

#include <QtCore/QString>

#include <functional>
#include <stop_token>

namespace gateway::platform {

/// The most that one archive may come to.
struct ArchiveLimits
{
    qint64 entries = 0;      ///< files, folders, links and all else together
    qint64 bytes = 0;        ///< of all files together, unpacked
    qint64 reserveBytes = 0; ///< free space on the volume that is left alone
};

/// How unpacking an archive ended.
struct UnpackedArchive
{
    enum class Outcome
    {
        unpacked,
        unreadable,  ///< damaged, or of a kind that isn't known
        encrypted,   ///< protected by a password
        tooLarge,    ///< beyond the limits
        noStorage,   ///< the folder couldn't take it
        unavailable, ///< the program that unpacks can't be started
        stopped      ///< by the stop token
    };

    Outcome outcome = Outcome::unavailable;
    qint64 files = 0;   ///< that were unpacked
    qint64 bytes = 0;   ///< their content
    qint64 leftOut = 0; ///< links, devices and the like, which stay in the archive
};

/// Unpacks archives (zip and rar, told by their content). Thread: any; it blocks.
class ArchiveUnpacking
{
public:
    /// What has been unpacked so far; called on the thread that unpacks, a few times a second.
    using Progress = std::function<void(qint64 files, qint64 bytes)>;

    virtual ~ArchiveUnpacking() = default;

    /// Puts all files of an archive into an empty folder, keeping its layout; blocks until that is done.
    ///
    /// Nothing is written outside the folder, and no links are made in it; their names may be bytes that
    /// aren't UTF-8. After any outcome but `unpacked` the folder holds a part of the files, or none.
    virtual UnpackedArchive unpack(const QString &archive,
                                   const QString &folder,
                                   const ArchiveLimits &limits,
                                   const Progress &progress,
                                   std::stop_token stop) = 0;
};

} // namespace gateway::platform
