#pragma once

#include "log/browsing/log_rows.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::platform {
class FileDescriptor;
}

namespace gateway::log {

/// One record with all that a screen shows of it.
struct LogRow
{
    QString id; ///< the event's id, "-", and the file; equal for a line that stands twice in one file
    GatewayLogEvent event;
    QString sourceFile; ///< the last component of the file's path
    QString rawLine;    ///< as it stands in the file, without its line end
};

/// Takes rows back from their files, a line at a time. Keeps the last file open, since neighbours in the
/// list are mostly neighbours in a file.
///
/// Owner: whoever shows the rows. Thread: one at a time; reads from the disk.
class LogRowReader
{
public:
    /// \param rows  not null.
    explicit LogRowReader(std::shared_ptr<const LogRows> rows);
    ~LogRowReader();

    LogRowReader(const LogRowReader &) = delete;
    LogRowReader &operator=(const LogRowReader &) = delete;

    const std::shared_ptr<const LogRows> &rows() const { return m_rows; }

    /// The row at a position from 0 to `rows()->count()`, excluded; nothing when its line isn't there any
    /// more: the file was removed or replaced since the rows were read.
    std::optional<LogRow> row(qsizetype position);

    /// The row's line alone, under the same conditions.
    std::optional<QByteArray> rawLine(qsizetype position);

private:
    bool open(quint32 file);

    const std::shared_ptr<const LogRows> m_rows;
    LogLineDecoder m_decoder;
    std::optional<quint32> m_openFile;
    std::unique_ptr<platform::FileDescriptor> m_file;
};

} // namespace gateway::log
