#include "upload/quorin_cloud_terms_prompt_gate.h"

namespace gateway::upload {

bool QuorinCloudTermsPromptGate::beginStatusCheck(std::chrono::nanoseconds minimumInterval)
{
    const platform::MutexLock lock(m_mutex);
    if (m_isCheckingStatus || (m_lastPromptAt && m_clock.monotonic() - *m_lastPromptAt < minimumInterval)) {
        return false;
    }
    m_isCheckingStatus = true;
    return true;
}

void QuorinCloudTermsPromptGate::endStatusCheck(bool prompted)
{
    const platform::MutexLock lock(m_mutex);
    m_isCheckingStatus = false;
    if (prompted) {
        m_lastPromptAt = m_clock.monotonic();
    }
}

} // namespace gateway::upload
