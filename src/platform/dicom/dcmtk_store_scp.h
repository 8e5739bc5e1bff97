#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/descriptors/event_descriptor.h"
#include "platform/dicom/listener_process.h"
#include "platform/dicom/store_scp.h"

#include <memory>

#include <sys/types.h>

namespace gateway::platform {

/// Free space below which the SCP refuses objects (A700): room for the index and the logs, and for what is
/// under way.
inline constexpr qint64 kFreeSpaceReserveBytes = 64 * 1024 * 1024;

/// What the SCP is built with; the same for every run of one gateway.
struct StoreSCPEnvironment
{
    QString helperProgram;       // see helperProgramPath()
    QString defaultIncomingPath; // used where the configuration has none
    qint64 reserveBytes = kFreeSpaceReserveBytes;
    ListenerTimeouts timeouts = {};
};

/// The storage SCP as a `quorin-dicom scp` process of its own, started again where it ends by itself.
///
/// Owner and threads: as StoreSCP says; callbacks may call all of it but start() and awaitFreePort().
class DCMTKStoreSCP : public StoreSCP
{
public:
    /// \throws std::system_error when the process has no descriptor left.
    explicit DCMTKStoreSCP(StoreSCPEnvironment environment);

    DCMTKStoreSCP(const DCMTKStoreSCP &) = delete;
    DCMTKStoreSCP &operator=(const DCMTKStoreSCP &) = delete;

    std::int32_t start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks) override;
    void stop() override;
    void acknowledgeAfter(std::int64_t time) override;
    void awaitFreePort() override;
    std::optional<int> boundPort() const override;
    Sentence lastMessage() const override;

    /// Waits until start(), on another thread, listens or is over. \return the bound port; nothing when over.
    std::optional<int> awaitPort();

    /// The process that listens or is about to; nothing before and after. Any thread.
    std::optional<pid_t> processId() const;

private:
    struct Run;

    bool begin();
    void launch(Run &run);
    void waitForNews(const Run &run) const;
    void attend(Run &run);
    void tellOrder(Run &run);
    void onListening(Run &run);
    void onEnd(Run &run);
    void interrupt(Run &run, StoreSCPInterruption::Cause cause, int status, const Sentence &message);
    void publish(const Run &run);
    void setMessage(const Sentence &message);
    std::int32_t finish(const Run &run);
    bool stopRequested() const;
    std::int64_t orderSoFar() const;

    const StoreSCPEnvironment m_environment;
    EventDescriptor m_wake; // set when another thread wants something

    mutable Mutex m_mutex;
    Condition m_changed;
    bool m_isOver QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_stopRequested QUORIN_GUARDED_BY(m_mutex) = false;
    std::int64_t m_acknowledgeAfter QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_mayHoldPort QUORIN_GUARDED_BY(m_mutex) = false;
    std::optional<pid_t> m_processId QUORIN_GUARDED_BY(m_mutex);
    std::optional<int> m_port QUORIN_GUARDED_BY(m_mutex);
    Sentence m_message QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::platform
