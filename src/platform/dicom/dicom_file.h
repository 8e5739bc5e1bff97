#pragma once

#include "platform/dicom/dicom_parsing.h"

#include <chrono>

namespace gateway::platform {

class Clock;
class WorkerProcessPool;

/// Parses files in a worker process.
///
/// Owner: app. Thread: any. Trouble is met with a few more tries: quick ones where the file can't be read or
/// its worker dies or hangs, since callers have other files to go on with, and a minute of them where no
/// process can be started.
class DicomFile final : public DicomParsing
{
public:
    /// \param workers, clock  borrowed; outlive this.
    /// \param timeout         of one try, and as much more as a slow disk takes for a file that is read as a
    ///                        whole. Parsing takes less than a millisecond; only a disk that has gone to
    ///                        sleep takes longer.
    DicomFile(WorkerProcessPool &workers,
              Clock &clock,
              std::chrono::milliseconds timeout = std::chrono::seconds(60))
        : m_workers(workers), m_clock(clock), m_timeout(timeout)
    {
    }

    ParsedFile parse(const QString &path) override;
    ParsedFile parseWithVersion(const QString &path) override;
    std::int64_t versionOf(const QString &path) override;

private:
    ParsedFile parse(const QString &path, bool isVersionWanted);

    WorkerProcessPool &m_workers;
    Clock &m_clock;
    const std::chrono::milliseconds m_timeout;
};

} // namespace gateway::platform
