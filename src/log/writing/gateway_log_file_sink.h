#pragma once

#include "log/writing/gateway_log_event.h"
#include "log/writing/log_folder_room.h"
#include "platform/concurrency/clock.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace gateway::log {

/// Appends events to JSON-lines files and begins a new file before one would reach its size limit. Files
/// are never continued by another process, and no descriptor is kept between events, since the log browser
/// reads and removes files at any time. Old ones stay, unless a room with a limit is given.
///
/// Owner: GatewayLogger. Thread: the logging queue only. Every failure loses the event at hand and is told
/// to nobody.
class GatewayLogFileSink
{
public:
    /// 5 MiB: what the log browser reads in one go.
    static constexpr qint64 kDefaultMaxFileSizeBytes = 5'242'880;

    /// Makes `logDirectory` with the folders above it; no file yet.
    ///
    /// \param clock             names the files; outlives the sink.
    /// \param maxFileSizeBytes  a file stays below it, unless one record alone is larger.
    /// \param room              keeps count, and to its limit, at each new file; outlives the sink; may be
    /// null.
    GatewayLogFileSink(QString logDirectory,
                       const platform::Clock &clock,
                       qint64 maxFileSizeBytes = kDefaultMaxFileSizeBytes,
                       LogFolderRoom *room = nullptr);

    /// Appends one record with its line feed, wholly or not at all.
    void write(const GatewayLogEvent &event);

private:
    void rotateIfNeeded(qsizetype incoming);
    void beginNewFile();
    bool append(const QByteArray &record) const;

    QString m_logDirectory;
    const platform::Clock &m_clock;
    qint64 m_maxFileSizeBytes;
    LogFolderRoom *m_room;
    std::optional<QString> m_activeLogFile;
};

} // namespace gateway::log
