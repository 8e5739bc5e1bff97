#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "platform/sqlite/database.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace gateway::cloud {

using UserId = std::int64_t;

/// A sign-in that holds until it expires or is ended.
///
/// Thread: any; a value.
struct Session
{
    QByteArray token;
    UserId userId = 0;
    QDateTime expiresAt;
};

/// Who may use the service: users with their profiles, their sessions, the terms that they accepted. All of
/// it is kept durably; tokens and passwords as hashes only.
///
/// Owner: CloudService. Thread: any. Functions throw platform::SqliteError.
class Accounts
{
public:
    /// \param path     of the SQLite file; made where it is missing.
    /// \param durable  false gives up on surviving a power cut.
    Accounts(const QString &path, bool durable, const platform::Clock &clock);

    /// Adds the user, or gives a known one this password.
    void putUser(const QString &email, const QString &password) QUORIN_EXCLUDES(m_mutex);

    bool hasUsers() const QUORIN_EXCLUDES(m_mutex);

    /// The user with that address (its case doesn't count) and that password.
    std::optional<UserId> userWithPassword(const QString &email, const QString &password)
        QUORIN_EXCLUDES(m_mutex);

    Session beginSession(UserId user, std::chrono::seconds lifetime) QUORIN_EXCLUDES(m_mutex);

    /// The session, unless it has expired or was ended.
    std::optional<Session> session(const QByteArray &token) const QUORIN_EXCLUDES(m_mutex);

    void endSession(const QByteArray &token) QUORIN_EXCLUDES(m_mutex);
    void endAllSessions() QUORIN_EXCLUDES(m_mutex);

    /// The user's record as clients see it, with `id` and `email`.
    QJsonObject profile(UserId user) const QUORIN_EXCLUDES(m_mutex);

    /// Keeps the whole record, members unknown here too; `id` and `email` stay what they are.
    void putProfile(UserId user, QJsonObject profile) QUORIN_EXCLUDES(m_mutex);

    void setPassword(UserId user, const QString &password) QUORIN_EXCLUDES(m_mutex);

    bool isPassword(UserId user, const QString &password) const QUORIN_EXCLUDES(m_mutex);

    /// The version of the terms that the user accepted last; empty when none.
    QString acceptedTerms(UserId user) const QUORIN_EXCLUDES(m_mutex);

    void setAcceptedTerms(UserId user, const QString &version) QUORIN_EXCLUDES(m_mutex);

    /// Keeps an answer to terms as it came, for whoever must prove it later.
    void recordTermsAnswer(UserId user, const QString &answer, const QJsonObject &request)
        QUORIN_EXCLUDES(m_mutex);

    /// All answers to terms, oldest first: `email`, `answer`, `request`.
    QJsonArray termsAnswers() const QUORIN_EXCLUDES(m_mutex);

private:
    QByteArray passwordHash(UserId user) const QUORIN_EXCLUDES(m_mutex);

    const platform::Clock &m_clock; // borrowed, outlives this
    mutable platform::Mutex m_mutex;
    mutable platform::Database m_database QUORIN_GUARDED_BY(m_mutex);
    // Clients with HTTP Basic send the password with every request; the slow hash is for the first one.
    QHash<QByteArray, UserId> m_knownCredentials QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::cloud
