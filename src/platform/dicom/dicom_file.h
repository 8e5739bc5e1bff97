#pragma once

#include "platform/dicom/dicom_parsing.h"

#include <chrono>

namespace gateway::platform {

class Clock;
class WorkerProcessPool;

/// Parses files in a worker process.
///
/// Owner: app. Thread: any. Trouble that isn't the file's is waited out: where no process can be started,
/// or one dies or hangs, the job is tried again. A file that ends a second worker counts as unreadable.
class DicomFile final : public DicomParsing
{
public:
    /// \param workers, clock  borrowed; outlive this.
    /// \param timeout         of one try. Parsing takes less than a millisecond; only a disk that has gone to
    ///                        sleep takes longer.
    DicomFile(WorkerProcessPool &workers,
              Clock &clock,
              std::chrono::milliseconds timeout = std::chrono::seconds(60))
        : m_workers(workers), m_clock(clock), m_timeout(timeout)
    {
    }

    /// \throws std::runtime_error  when no worker could be started for a minute, or the file couldn't be read
    /// in
    ///                             time: the file isn't to blame then.
    std::optional<DicomElements> parse(const QString &path) override;

private:
    WorkerProcessPool &m_workers;
    Clock &m_clock;
    const std::chrono::milliseconds m_timeout;
};

} // namespace gateway::platform
