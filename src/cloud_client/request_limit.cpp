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
const auto kBytesMember = QStringLiteral("bytes");
const auto kBytesLearntAtMember = QStringLiteral("learntAt");
const auto kInstancesMember = QStringLiteral("instances");
const auto kInstancesLearntAtMember = QStringLiteral("instancesLearntAt");

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
    if (record.value(kServiceMember).toString() != m_service) {
        return;
    }
    const auto read = [&record](Limit &limit, const QString &member, const QString &learntAtMember) {
        const qint64 from = record.value(member).toInteger();
        const QDateTime learntAt =
            QDateTime::fromString(record.value(learntAtMember).toString(), Qt::ISODate);
        if (from > 0 && learntAt.isValid()) {
            limit.from = from;
            limit.learntAt = learntAt;
        }
    };
    const platform::MutexLock lock(m_mutex);
    read(m_bytes, kBytesMember, kBytesLearntAtMember);
    read(m_instances, kInstancesMember, kInstancesLearntAtMember);
}

bool RequestLimit::Limit::isReachedBy(qint64 value, const QDateTime &now) const
{
    const std::chrono::seconds age(std::abs(learntAt.secsTo(now))); // the clock may have been moved
    return value >= from && age < kMemory;
}

bool RequestLimit::Limit::refuse(qint64 value, const QDateTime &now)
{
    if (value >= from && isReachedBy(value, now)) {
        return false;
    }
    if (std::exchange(isTrial, false)) {
        patience = std::min(2 * patience, kLongestPatience);
    }
    taken = 0;
    from = value;
    learntAt = now;
    return true;
}

bool RequestLimit::Limit::take(qint64 value)
{
    if (from == kNone) {
        return false;
    }
    if (value >= from) {
        from = kNone;
        return true;
    }
    if (++taken < patience) {
        return false;
    }
    from = from <= kNone / 2 ? 2 * from : kNone;
    taken = 0;
    isTrial = true;
    return true;
}

bool RequestLimit::isReachedBy(const RequestExtent &extent) const
{
    const QDateTime now = m_clock.now();
    const platform::MutexLock lock(m_mutex);
    return m_bytes.isReachedBy(extent.bytes, now) || m_instances.isReachedBy(extent.instances, now);
}

void RequestLimit::refused(const RequestExtent &extent)
{
    const QDateTime now = m_clock.now();
    const platform::MutexLock lock(m_mutex);
    const bool wereBytesTaken = extent.bytes <= m_mostTaken.bytes;
    const bool isOfInstances =
        wereBytesTaken && extent.instances > std::max<qint64>(m_mostTaken.instances, 1);
    if (wereBytesTaken && !isOfInstances) {
        m_mostTaken = {}; // what was taken once says nothing any more
    }
    if (isOfInstances ? m_instances.refuse(extent.instances, now) : m_bytes.refuse(extent.bytes, now)) {
        keep();
    }
}

void RequestLimit::taken(const RequestExtent &extent)
{
    const platform::MutexLock lock(m_mutex);
    m_mostTaken = {std::max(m_mostTaken.bytes, extent.bytes),
                   std::max(m_mostTaken.instances, extent.instances)};
    const bool areOtherBytes = m_bytes.take(extent.bytes);
    if (m_instances.take(extent.instances) || areOtherBytes) {
        keep();
    }
}

/// What can't be kept is learnt again.
void RequestLimit::keep() const
{
    if (m_defaults == nullptr) {
        return;
    }
    QJsonObject record{{kServiceMember, m_service}};
    const auto write = [&record](const Limit &limit, const QString &member, const QString &learntAtMember) {
        if (limit.from < Limit::kNone) {
            record.insert(member, limit.from);
            record.insert(learntAtMember, limit.learntAt.toUTC().toString(Qt::ISODate));
        }
    };
    write(m_bytes, kBytesMember, kBytesLearntAtMember);
    write(m_instances, kInstancesMember, kInstancesLearntAtMember);
    m_defaults->setObject(
        QLatin1StringView(kRequestLimitKey),
        record.size() > 1 ? QVariant(QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact)))
                          : QVariant());
}

} // namespace gateway::cloud_client
