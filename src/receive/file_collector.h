#pragma once

#include "receive/source_look.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <stop_token>
#include <vector>

namespace gateway::receive {

/// A file that a batch is to look at.
struct CollectedFile
{
    QByteArray path; ///< in the file system's own bytes, which needn't be UTF-8
    qint64 bytes = 0;
};

/// What lies at and below a path.
struct Collected
{
    std::vector<CollectedFile> files; ///< in the order of their names
    QList<QByteArray> unlisted;       ///< folders that couldn't be listed, or not to their end
};

/// Finds the files at and below paths, each once, whichever way it is reached.
///
/// Hidden files count as well; a folder that can't be listed is empty; what can't be looked at is a file.
/// Folders of the gateway's own are passed over when they are met on the way, not when they are what was
/// chosen: whoever imports all Documents doesn't mean the images that the gateway keeps there.
///
/// Owner: a batch. Thread: the batch's.
class FileCollector
{
public:
    /// \param ownFolders  the folders that are passed over.
    explicit FileCollector(const QStringList &ownFolders);

    /// The files at or below `path`; ends early on a stop.
    Collected collect(const QByteArray &path, const std::stop_token &stop, Pulse &pulse);

private:
    struct Search
    {
        const std::stop_token &stop;
        Pulse &pulse;
        Collected found;
    };

    void visit(const QByteArray &path, const QByteArray &realPath, Search &search);

    QSet<QByteArray> m_ownFolders;
    QSet<QByteArray> m_visited; // with all links resolved
};

} // namespace gateway::receive
