#include "index/send_count.h"

#include "platform/concurrency/clock.h"
#include "platform/defaults/user_defaults.h"

namespace gateway::index {

namespace {

const QString kKey = QStringLiteral("QuorinSendCount");

} // namespace

std::int64_t SendCount::kept() const
{
    const std::optional<QVariant> value = m_defaults.object(kKey);
    return value ? value->toLongLong() : 0;
}

void SendCount::keep(std::int64_t count)
{
    constexpr auto kInterval = std::chrono::seconds(1); // a durable write a request would slow sending down
    const platform::MutexLock lock(m_mutex);
    const auto now = m_clock.monotonic();
    if (!m_keptAt || now - *m_keptAt >= kInterval) {
        m_keptAt = now;
        m_defaults.setObject(kKey, QVariant::fromValue<qlonglong>(count));
    }
}

} // namespace gateway::index
