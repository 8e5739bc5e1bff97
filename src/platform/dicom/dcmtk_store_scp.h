#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/dicom/store_scp.h"
#include "platform/dicom_protocol/record.h"

#include <memory>
#include <thread>

#include <sys/types.h>

namespace gateway::platform {

class HelperProcess;

/// Free space below which the SCP refuses objects (A700): room for the index and the logs, and for what is
/// under way.
inline constexpr qint64 kFreeSpaceReserveBytes = 64 * 1024 * 1024;

/// What the SCP is built with; the same for every run of one gateway.
struct StoreSCPEnvironment
{
    QString helperProgram;       // see helperProgramPath()
    QString defaultIncomingPath; // used where the configuration has none
    qint64 reserveBytes = kFreeSpaceReserveBytes;
};

/// The storage SCP as a `quorin-dicom scp` process of its own.
///
/// Callbacks must not wait for a thread that may be in stop(). Owner and threads: as StoreSCP says.
class DCMTKStoreSCP : public StoreSCP
{
public:
    explicit DCMTKStoreSCP(StoreSCPEnvironment environment);

    std::int32_t start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks) override;
    void stop() override;
    std::optional<int> boundPort() const override;
    QString lastMessage() const override;

    /// Waits until start(), on another thread, listens or is over. \return the bound port; nothing when over.
    std::optional<int> awaitPort();

    /// The process that listens; nothing before and after. Any thread.
    std::optional<pid_t> processId() const;

private:
    std::int32_t refuse(const QString &message);
    std::int32_t listen(const std::shared_ptr<HelperProcess> &process, StoreSCPCallbacks callbacks);
    void onStandingChanged(const dicom_protocol::Record &record);
    std::int32_t finish(int status);

    const StoreSCPEnvironment m_environment;

    mutable Mutex m_mutex;
    Condition m_changed;
    bool m_isOver QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_stopRequested QUORIN_GUARDED_BY(m_mutex) = false;
    std::shared_ptr<HelperProcess> m_process QUORIN_GUARDED_BY(m_mutex); // while the port may be bound
    std::thread::id m_startThread QUORIN_GUARDED_BY(m_mutex);
    std::optional<int> m_port QUORIN_GUARDED_BY(m_mutex);
    QString m_message QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::platform
