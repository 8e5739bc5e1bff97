#pragma once

#include <QtCore/QString>

#include <atomic>
#include <functional>

namespace gateway::log {

/// The room that the log files take, and the limit that a site may have set for all of them together.
///
/// Owner: app. Thread: `bytes` any, the rest the logging queue.
class LogFolderRoom
{
public:
    /// \param limitBytes  asked at each new file; 0 for no limit. Any thread.
    explicit LogFolderRoom(std::function<qint64()> limitBytes) : m_limitBytes(std::move(limitBytes)) {}

    /// What the log files took when the newest of them was begun, and what came since; 0 before the first.
    qint64 bytes() const { return m_bytes; }

    /// Measures the folder. Where there is a limit, the oldest log files go until what stays leaves room for
    /// the active file to become full below it. Files of others stay.
    ///
    /// \param activeFile  the path of the file that is written; never removed.
    /// \param fileBytes   how large a file becomes.
    void tidy(const QString &folder, const QString &activeFile, qint64 fileBytes);

    void added(qint64 bytes) { m_bytes += bytes; }

private:
    const std::function<qint64()> m_limitBytes;
    std::atomic<qint64> m_bytes = 0;
};

} // namespace gateway::log
