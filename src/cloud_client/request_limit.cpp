#include "cloud_client/request_limit.h"

#include "platform/concurrency/clock.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace gateway::cloud_client {

namespace {

const auto kServiceMember = QStringLiteral("service");
const auto kSizeMember = QStringLiteral("bytes");
const auto kLearntAtMember = QStringLiteral("learntAt");

} // namespace

RequestLimit::RequestLimit(QString service, const platform::Clock &clock, platform::UserDefaults *defaults)
    : m_service(std::move(service)), m_clock(clock), m_defaults(defaults)
{
    load();
}

void RequestLimit::load()
{
    const QVariant kept = m_defaults
                              ? m_defaults->object(QLatin1StringView(kRequestLimitKey)).value_or(QVariant())
                              : QVariant();
    const QJsonObject record = QJsonDocument::fromJson(kept.toString().toUtf8()).object();
    const qint64 size = record.value(kSizeMember).toInteger();
    const QDateTime learntAt = QDateTime::fromString(record.value(kLearntAtMember).toString(), Qt::ISODate);
    if (size > 0 && learntAt.isValid() && record.value(kServiceMember).toString() == m_service) {
        const platform::MutexLock lock(m_mutex);
        m_size = size;
        m_learntAt = learntAt;
    }
}

bool RequestLimit::isReachedBy(qint64 size) const
{
    const platform::MutexLock lock(m_mutex);
    const std::chrono::seconds age(
        std::abs(m_learntAt.secsTo(m_clock.now()))); // the clock may have been moved
    return size >= m_size && age < kMemory;
}

void RequestLimit::refused(qint64 size)
{
    const bool isKnown = isReachedBy(size);
    const platform::MutexLock lock(m_mutex);
    if (size < m_size || !isKnown) {
        if (std::exchange(m_isTrial, false)) {
            m_patience = std::min(2 * m_patience, kLongestPatience);
        }
        m_taken = 0;
        m_size = size;
        m_learntAt = m_clock.now();
        keep();
    }
}

void RequestLimit::taken(qint64 size)
{
    const platform::MutexLock lock(m_mutex);
    constexpr qint64 kNone = std::numeric_limits<qint64>::max();
    if (m_size == kNone) {
        return;
    }
    if (size >= m_size) {
        m_size = kNone;
        keep();
    } else if (++m_taken >= m_patience) {
        m_size = m_size <= kNone / 2 ? 2 * m_size : kNone;
        m_taken = 0;
        m_isTrial = true;
        keep();
    }
}

void RequestLimit::keep() const
{
    if (m_defaults == nullptr) {
        return;
    }
    const QJsonObject record{{kServiceMember, m_service},
                             {kSizeMember, m_size},
                             {kLearntAtMember, m_learntAt.toUTC().toString(Qt::ISODate)}};
    const bool isLearnt = m_size < std::numeric_limits<qint64>::max();
    // What can't be kept is learnt again.
    m_defaults->setObject(
        QLatin1StringView(kRequestLimitKey),
        isLearnt ? QVariant(QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact)))
                 : QVariant());
}

} // namespace gateway::cloud_client
