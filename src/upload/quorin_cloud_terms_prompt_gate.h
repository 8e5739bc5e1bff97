#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"

#include <chrono>
#include <optional>

namespace gateway::upload {

/// Lets one failed upload at a time ask the cloud for its terms, and none for a while after the user was sent
/// to them.
///
/// Owner: CloudTermsFollowUp. Thread: any. Its state is memory only: after a restart it may prompt at once.
class QuorinCloudTermsPromptGate
{
public:
    explicit QuorinCloudTermsPromptGate(const platform::Clock &clock) : m_clock(clock) {}

    /// \param minimumInterval  since the last prompt; exactly that long ago is long enough.
    /// \return true when the caller may ask; it then calls `endStatusCheck`.
    bool beginStatusCheck(std::chrono::nanoseconds minimumInterval);

    /// \param prompted  true when the user was sent to the terms.
    void endStatusCheck(bool prompted);

private:
    const platform::Clock &m_clock;
    platform::Mutex m_mutex;
    bool m_isCheckingStatus QUORIN_GUARDED_BY(m_mutex) = false;
    std::optional<std::chrono::nanoseconds> m_lastPromptAt QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload
