#pragma once

#include "platform/dicom/dicom_parsing.h"

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
    /// Both are borrowed and outlive this.
    DicomFile(WorkerProcessPool &workers, Clock &clock) : m_workers(workers), m_clock(clock) {}

    /// \throws std::runtime_error  when no worker could be started for a minute.
    std::optional<DicomElements> parse(const QString &path) override;

private:
    WorkerProcessPool &m_workers;
    Clock &m_clock;
};

} // namespace gateway::platform
