#pragma once

#include "log/browsing/log_file_rows.h"

#include <QtCore/QString>

#include <memory>
#include <vector>

#include <sys/stat.h>

namespace gateway::log {

/// Reads up to `size` bytes of an open file; fewer only at its end, -1 on failure.
qsizetype readAt(int descriptor, char *to, qsizetype size, qint64 offset);

/// How a file looks at this moment.
LogFileStamp logFileStamp(const struct stat &status);

/// Reads log files, whole or where they have grown.
///
/// Owner: a read of the folder. Thread: one at a time; blocks.
class LogFileReader
{
public:
    LogFileReader();

    /// The records of one file.
    ///
    /// A file that only grew since `previous` is read from where that left off; one that shrank, or is
    /// another by now, is read anew. One that is empty or not UTF-8 throughout has no records. The last line
    /// counts when it is whole even without its line feed; it is looked at again when the file has grown.
    ///
    /// \param previous  what an earlier read gave for this path; may be null.
    /// \return null when the file can't be read or is no plain file.
    std::shared_ptr<const LogFileRows> read(const QString &path, const LogFileRows *previous);

private:
    bool readFrom(int descriptor, LogFileRows &rows);

    LogLineDecoder m_decoder;
    std::vector<char> m_buffer; // with room for the decoder to read ahead
};

} // namespace gateway::log
