#include "cloud_client/network_settings.h"

#include "platform/keychain/token_store.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <future>
#include <memory>
#include <utility>

namespace gateway::cloud_client {

namespace {

const auto kTokenMember = QStringLiteral("token");
const auto kRefreshTokenMember = QStringLiteral("refreshToken");
const auto kEndedMember = QStringLiteral("ended");
const auto kUserIdMember = QStringLiteral("userId");
const auto kEndedAtMember = QStringLiteral("endedAt");

std::optional<QString> textIn(const QJsonObject &record, const QString &member)
{
    const QJsonValue value = record.value(member);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

void insert(QJsonObject &record, const QString &member, const std::optional<QString> &text)
{
    if (text) {
        record.insert(member, *text);
    }
}

} // namespace

NetworkSettings::NetworkSettings(platform::TokenStore &store, QString key)
    : m_store(store), m_key(std::move(key)), m_queue(QStringLiteral("com.ovelt.pavan.gateway.session.queue"))
{
    m_queue.async([this] { load(); });
}

bool NetworkSettings::isKnown() const
{
    const platform::MutexLock lock(m_mutex);
    return m_isKnown;
}

void NetworkSettings::whenKnown(std::function<void()> handler)
{
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_isKnown) {
            m_whenKnown = std::move(handler);
            return;
        }
    }
    handler();
}

void NetworkSettings::askAgain()
{
    bool isKnown = false;
    {
        const platform::MutexLock lock(m_mutex);
        isKnown = m_isKnown;
        if (m_isAsking || (m_isKnown && m_isStored)) {
            return;
        }
        m_isAsking = true;
    }
    m_queue.async([this, isKnown] { isKnown ? store() : load(); });
}

NetworkSettings::Standing NetworkSettings::standing() const
{
    const platform::MutexLock lock(m_mutex);
    return {m_session.token, m_session.userId, m_number};
}

std::optional<QString> NetworkSettings::token() const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.token;
}

void NetworkSettings::setToken(std::optional<QString> token,
                               std::optional<QString> refreshToken,
                               std::optional<qint64> userId)
{
    change([&](Session &session) {
        session = {.token = std::move(token), .refreshToken = std::move(refreshToken), .userId = userId};
    });
}

std::optional<QString> NetworkSettings::refreshToken(const QString &token) const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.token == token ? m_session.refreshToken : std::nullopt;
}

void NetworkSettings::replaceRefreshToken(const QString &before, const QString &after)
{
    change([&](Session &session) {
        if (session.refreshToken == before) {
            session.refreshToken = after;
        }
    });
}

void NetworkSettings::endSessionOf(const QString &refreshToken, const QDateTime &when)
{
    change([&](Session &session) {
        if (session.refreshToken == refreshToken) {
            session = {.endedAt = when, .ended = session.token};
        }
    });
}

std::optional<QString> NetworkSettings::endedSession() const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.ended;
}

void NetworkSettings::endSession(const QDateTime &when)
{
    change([&when](Session &session) { session = {.endedAt = when}; });
}

std::optional<QDateTime> NetworkSettings::endedAt() const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.endedAt;
}

void NetworkSettings::setCredentialsRefused(const QString &token, bool areRefused)
{
    const platform::MutexLock lock(m_mutex);
    if (m_session.token == token) {
        m_session.areRefused = areRefused;
    }
}

bool NetworkSettings::areCredentialsRefused() const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.areRefused;
}

std::optional<qint64> NetworkSettings::userId() const
{
    const platform::MutexLock lock(m_mutex);
    return m_session.userId;
}

/// What a person or the service says counts more than what was kept: an answer of the store that comes later
/// is dropped.
void NetworkSettings::change(const std::function<void(Session &)> &set)
{
    {
        const platform::MutexLock lock(m_mutex);
        Session session = m_session;
        set(session);
        replaceSession(std::move(session));
        m_isKnown = true;
        m_isStored = false;
        m_isAsking = true;
    }
    m_queue.async([this] { store(); });
}

void NetworkSettings::replaceSession(Session session)
{
    if (session.token != m_session.token || session.userId != m_session.userId) {
        ++m_number;
    }
    m_session = std::move(session);
}

bool NetworkSettings::waitUntilStored(std::chrono::milliseconds timeout)
{
    const auto done = std::make_shared<std::promise<void>>();
    m_queue.async([done] { done->set_value(); });
    if (done->get_future().wait_for(timeout) != std::future_status::ready) {
        return false;
    }
    const platform::MutexLock lock(m_mutex);
    return m_isStored;
}

void NetworkSettings::load()
{
    const platform::TokenAnswer answer = m_store.read(m_key);
    std::function<void()> handler;
    {
        const platform::MutexLock lock(m_mutex);
        m_isAsking = m_isKnown && !m_isStored; // a word to the store follows
        if (m_isKnown || answer.outcome == platform::TokenAnswer::Outcome::notReached) {
            return;
        }
        replaceSession(sessionIn(answer.value));
        m_isKnown = true;
        handler = std::exchange(m_whenKnown, nullptr);
    }
    if (handler) {
        handler();
    }
}

NetworkSettings::Session NetworkSettings::sessionIn(const QByteArray &kept)
{
    const QJsonObject record = QJsonDocument::fromJson(kept).object();
    Session session;
    session.token = textIn(record, kTokenMember);
    session.refreshToken = textIn(record, kRefreshTokenMember);
    session.ended = textIn(record, kEndedMember);
    if (record.value(kUserIdMember).isDouble()) {
        session.userId = record.value(kUserIdMember).toInteger();
    }
    const QDateTime endedAt =
        QDateTime::fromString(record.value(kEndedAtMember).toString(), Qt::ISODateWithMs);
    if (endedAt.isValid()) {
        session.endedAt = endedAt.toUTC();
    }
    return session;
}

void NetworkSettings::store()
{
    // What stands now is written, not what stood when the write was asked for: the last write always leaves
    // the present session behind.
    Session session;
    {
        const platform::MutexLock lock(m_mutex);
        session = m_session;
        m_isStored = true; // unless something changes meanwhile
    }
    const bool isTold = tell(session);
    const platform::MutexLock lock(m_mutex);
    m_isStored = m_isStored && isTold;
    m_isAsking = false;
}

bool NetworkSettings::tell(const Session &session)
{
    if (!session.token && !session.userId && !session.endedAt) {
        return m_store.remove(m_key);
    }
    QJsonObject record;
    insert(record, kTokenMember, session.token);
    insert(record, kRefreshTokenMember, session.refreshToken);
    insert(record, kEndedMember, session.ended);
    if (session.userId) {
        record.insert(kUserIdMember, *session.userId);
    }
    if (session.endedAt) {
        record.insert(kEndedAtMember, session.endedAt->toString(Qt::ISODateWithMs));
    }
    return m_store.write(m_key, QJsonDocument(record).toJson(QJsonDocument::Compact));
}

} // namespace gateway::cloud_client
