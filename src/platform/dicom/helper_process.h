#pragma once

#include "platform/descriptors/descriptor.h"
#include "platform/dicom_protocol/channel.h"

#include <QtCore/QString>

#include <chrono>
#include <optional>

#include <sys/types.h>

namespace gateway::platform {

/// The path of quorin-dicom: beside the running program, else what QUORIN_DICOM_HELPER names, else the
/// former whether it exists or not.
QString helperProgramPath();

/// One running quorin-dicom and the gateway's end of its channel.
///
/// The process inherits the channel as descriptor 3, an empty standard input and output, the standard error,
/// and nothing else; it has a process group of its own, so that a key press in the gateway's terminal reaches
/// the gateway alone. Owner: whoever started it. Thread: one at a time, but for the channel's send() and
/// shutdown(), and kill().
class HelperProcess
{
public:
    HelperProcess(const HelperProcess &) = delete;
    HelperProcess &operator=(const HelperProcess &) = delete;

    /// Starts `program` in the given role ("scp" or "worker").
    ///
    /// \throws std::system_error when the channel or the process can't be made.
    HelperProcess(const QString &program, const QString &role);

    /// Kills the process when it has not been waited for, and waits for it.
    ~HelperProcess();

    dicom_protocol::Channel &channel() { return m_channel; }
    const dicom_protocol::Channel &channel() const { return m_channel; }
    pid_t processId() const { return m_process; }

    /// A descriptor that is readable from the end of the process on.
    int processDescriptor() const { return m_processDescriptor.get(); }

    /// Sends SIGKILL; does nothing when the process has been waited for.
    void kill();

    /// Sends SIGKILL to the process and to all that it started. Call it only while one of them is known to
    /// live.
    void killGroup();

    /// Waits until the process has ended, at most `timeout` (a negative one: for ever), and reaps it.
    ///
    /// \return its exit status, 128 plus the number of the signal that ended it, or nothing when it still
    /// runs.
    std::optional<int> wait(std::chrono::milliseconds timeout);

private:
    dicom_protocol::Channel m_channel;
    pid_t m_process = -1;
    Descriptor m_processDescriptor; // a pidfd: readable when the process has ended
    std::optional<int> m_status;
};

} // namespace gateway::platform
