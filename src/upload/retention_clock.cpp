#include "upload/retention_clock.h"

#include "platform/concurrency/clock.h"
#include "platform/defaults/user_defaults.h"

namespace gateway::upload {

namespace {

/// Looks come with each round of an upload; the next run needs to know this much of them.
constexpr std::chrono::minutes kKeeping{10};

const QString kLastBelievedKey = QStringLiteral("QuorinGateway.LastBelievedTime");

} // namespace

RetentionClock::RetentionClock(const platform::Clock &clock, platform::UserDefaults &defaults)
    : m_clock(clock), m_defaults(defaults)
{
    if (const auto kept = m_defaults.object(kLastBelievedKey); kept && kept->toDateTime().isValid()) {
        m_lastSeen = kept->toDateTime();
    }
}

bool RetentionClock::hasMoved(const QDateTime &now, std::chrono::nanoseconds monotonic) const
{
    if (!m_lastSeen) {
        return false; // the first look ever
    }
    using std::chrono::milliseconds;
    const milliseconds shown(m_lastSeen->msecsTo(now));
    const auto passed =
        m_lastSeenAt ? std::chrono::duration_cast<milliseconds>(monotonic - *m_lastSeenAt) : milliseconds(0);
    return std::chrono::abs(shown - passed) > kLargestMove;
}

bool RetentionClock::isBelieved()
{
    const QDateTime now = m_clock.now();
    const std::chrono::nanoseconds monotonic = m_clock.monotonic();
    if (hasMoved(now, monotonic)) {
        m_doubtedSince = monotonic;
    } else if (m_doubtedSince && monotonic - *m_doubtedSince >= kDoubt) {
        m_doubtedSince.reset();
    }
    m_lastSeen = now;
    m_lastSeenAt = monotonic;
    if (m_doubtedSince) {
        return false;
    }
    if (!m_keptAt || monotonic - *m_keptAt >= kKeeping) {
        m_keptAt = monotonic;
        m_defaults.setObject(kLastBelievedKey, now);
    }
    return true;
}

} // namespace gateway::upload
