#include "platform/quorin_api/network_settings.h"

#include "platform/keychain/token_store.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <utility>

namespace gateway::platform {

namespace {

const auto kTokenMember = QStringLiteral("token");
const auto kUserIdMember = QStringLiteral("userId");
const auto kEndedAtMember = QStringLiteral("endedAt");

} // namespace

NetworkSettings::NetworkSettings(TokenStore &store, QString key)
    : m_store(store), m_key(std::move(key)), m_queue(QStringLiteral("com.ovelt.pavan.gateway.session.queue"))
{
    load();
}

std::optional<QString> NetworkSettings::token() const
{
    const MutexLock lock(m_mutex);
    return m_session.token;
}

void NetworkSettings::setToken(std::optional<QString> token)
{
    {
        const MutexLock lock(m_mutex);
        m_session.token = std::move(token);
        m_session.endedAt.reset();
        m_session.areRefused = false;
    }
    m_queue.async([this] { store(); });
}

void NetworkSettings::endSession(const QDateTime &when)
{
    {
        const MutexLock lock(m_mutex);
        m_session = {std::nullopt, std::nullopt, when, false};
    }
    m_queue.async([this] { store(); });
}

std::optional<QDateTime> NetworkSettings::endedAt() const
{
    const MutexLock lock(m_mutex);
    return m_session.endedAt;
}

void NetworkSettings::setCredentialsRefused(const QString &token, bool areRefused)
{
    const MutexLock lock(m_mutex);
    if (m_session.token == token) {
        m_session.areRefused = areRefused;
    }
}

bool NetworkSettings::areCredentialsRefused() const
{
    const MutexLock lock(m_mutex);
    return m_session.areRefused;
}

std::optional<qint64> NetworkSettings::userId() const
{
    const MutexLock lock(m_mutex);
    return m_session.userId;
}

void NetworkSettings::setUserId(std::optional<qint64> userId)
{
    {
        const MutexLock lock(m_mutex);
        m_session.userId = userId;
    }
    m_queue.async([this] { store(); });
}

void NetworkSettings::waitUntilStored()
{
    m_queue.sync([] {});
}

void NetworkSettings::load()
{
    const std::optional<QByteArray> kept = m_store.read(m_key);
    const QJsonObject record = QJsonDocument::fromJson(kept.value_or(QByteArray())).object();
    const MutexLock lock(m_mutex);
    if (record.value(kTokenMember).isString()) {
        m_session.token = record.value(kTokenMember).toString();
    }
    if (record.value(kUserIdMember).isDouble()) {
        m_session.userId = record.value(kUserIdMember).toInteger();
    }
    const QDateTime endedAt =
        QDateTime::fromString(record.value(kEndedAtMember).toString(), Qt::ISODateWithMs);
    if (endedAt.isValid()) {
        m_session.endedAt = endedAt.toUTC();
    }
}

void NetworkSettings::store()
{
    // What stands now is written, not what stood when the write was asked for: the last write always leaves
    // the present session behind.
    Session session;
    {
        const MutexLock lock(m_mutex);
        session = m_session;
    }
    if (!session.token && !session.userId && !session.endedAt) {
        m_store.remove(m_key);
        return;
    }
    QJsonObject record;
    if (session.token) {
        record.insert(kTokenMember, *session.token);
    }
    if (session.userId) {
        record.insert(kUserIdMember, *session.userId);
    }
    if (session.endedAt) {
        record.insert(kEndedAtMember, session.endedAt->toString(Qt::ISODateWithMs));
    }
    m_store.write(m_key, QJsonDocument(record).toJson(QJsonDocument::Compact));
}

} // namespace gateway::platform
