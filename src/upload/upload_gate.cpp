#include "upload/upload_gate.h"

#include <algorithm>

namespace gateway::upload {

using StoreUpload::QueueTrouble;
using StoreUpload::RunSummary;

namespace {

/// The share of a pause that a random number takes off, or add to a time that the cloud asked for.
constexpr double kSpread = 0.2;

std::optional<QueueTrouble> troubleOf(const RunSummary &summary)
{
    if (summary.missingToken && !summary.trouble) {
        return QueueTrouble{{core::FailureClass::notSignedIn, 0}, std::nullopt};
    }
    return summary.trouble;
}

std::chrono::nanoseconds scaled(std::chrono::nanoseconds pause, double factor)
{
    return std::chrono::nanoseconds(static_cast<std::int64_t>(static_cast<double>(pause.count()) * factor));
}

} // namespace

void UploadGate::runEnded(const RunSummary &summary)
{
    const platform::MutexLock lock(m_mutex);
    const std::optional<QueueTrouble> trouble = troubleOf(summary);
    if (!trouble || summary.successfulUploads > 0) {
        m_runsInVain = 0;
    }
    m_isTroubled = trouble.has_value();
    if (!trouble) {
        return;
    }
    const std::chrono::nanoseconds pause = pauseAfter(*trouble);
    m_opensAt = m_clock.monotonic() + pause;
    m_closure = {trouble->failure.failureClass,
                 trouble->retryAfter.has_value(),
                 m_clock.now().addMSecs(std::chrono::ceil<std::chrono::milliseconds>(pause).count())};
}

std::chrono::nanoseconds UploadGate::pauseAfter(const QueueTrouble &trouble)
{
    constexpr int kMostDoublings = 8; // more than enough for the longest pause
    const std::chrono::nanoseconds grown = kFirstPause * (1 << std::min(m_runsInVain, kMostDoublings));
    ++m_runsInVain;
    const std::chrono::nanoseconds longest = kLongestPause;
    const std::chrono::nanoseconds own = scaled(std::min(grown, longest), 1 - kSpread * m_random());
    // Never sooner than asked for, and a second of spread is enough for what is a matter of a second.
    const std::chrono::nanoseconds asked = trouble.retryAfter.value_or(std::chrono::seconds(0));
    return asked > own ? asked + scaled(std::chrono::seconds(1), m_random()) : own;
}

void UploadGate::open()
{
    const platform::MutexLock lock(m_mutex);
    m_opensAt = m_clock.monotonic();
}

std::chrono::nanoseconds UploadGate::remaining() const
{
    const platform::MutexLock lock(m_mutex);
    return m_isTroubled ? std::max(m_opensAt - m_clock.monotonic(), std::chrono::nanoseconds(0))
                        : std::chrono::nanoseconds(0);
}

std::optional<UploadGate::Closure> UploadGate::closure() const
{
    const bool isClosed = !isOpen();
    const platform::MutexLock lock(m_mutex);
    return isClosed ? std::optional(m_closure) : std::nullopt;
}

bool UploadGate::isTroubled() const
{
    const platform::MutexLock lock(m_mutex);
    return m_isTroubled;
}

} // namespace gateway::upload
