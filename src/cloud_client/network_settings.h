#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace gateway::platform {
class TokenStore;
}

namespace gateway::cloud_client {

/// The session: whether one exists, and for whom. It outlives the process in the token store.
///
/// Owner: QuorinApiClient. Thread: any; neither making one nor reading and setting waits for the token store,
/// which is asked and told on a queue of its own. Until it has answered there is no session, but that isn't
/// known yet.
class NetworkSettings
{
public:
    /// How long somebody who signs in or out waits for the token store.
    static constexpr std::chrono::seconds kStoreTimeout{10};

    /// Asks for the kept session; `isKnown` is true once it is there, or it is clear that there is none.
    ///
    /// \param store  outlives this.
    /// \param key    names the service; a session kept for one service is never offered to another.
    NetworkSettings(platform::TokenStore &store, QString key);

    NetworkSettings(const NetworkSettings &) = delete;
    NetworkSettings &operator=(const NetworkSettings &) = delete;

    /// The token store has answered, or somebody has signed in or out meanwhile.
    bool isKnown() const;

    /// Calls `handler` once, as soon as the kept session is known, on any thread; a later call replaces it.
    void whenKnown(std::function<void()> handler);

    /// Asks or tells the token store again if it hasn't answered. Returns at once.
    void askAgain();

    /// The session at one moment, as one.
    struct Standing
    {
        std::optional<QString> token; ///< as `token`
        std::optional<qint64> userId; ///< of the service's user
        std::int64_t number = 0;      ///< another one once either has changed; 0 before any session
    };

    Standing standing() const;

    /// The bearer token, or for a plain archive the encoded Basic credentials; nothing when signed out.
    std::optional<QString> token() const;

    /// Takes a session, or forgets it on a person's word. It is a new beginning: nothing has ended and
    /// nothing was refused.
    ///
    /// \param refreshToken  by which access tokens are had in it (RFC 6749 1.5), where that is how it is
    /// used.
    /// \param userId  of the service's user, whom the token stands for.
    void setToken(std::optional<QString> token,
                  std::optional<QString> refreshToken = std::nullopt,
                  std::optional<qint64> userId = std::nullopt);

    /// The refresh token of this session; nothing where it has none, or is another one by now.
    std::optional<QString> refreshToken(const QString &token) const;

    /// Takes the refresh token that came in place of another; nothing happens when that isn't the present
    /// one.
    void replaceRefreshToken(const QString &before, const QString &after);

    /// Forgets the session because this refresh token, its present one, is good for nothing any more, and
    /// keeps when that was, and how it was begun.
    ///
    /// \param when  UTC.
    void endSessionOf(const QString &refreshToken, const QDateTime &when);

    /// The session that `endSessionOf` has ended, for who begins it again: how, not what let it in.
    std::optional<QString> endedSession() const;

    /// Forgets the session because the service has ended it, and keeps when that was.
    ///
    /// \param when  UTC.
    void endSession(const QDateTime &when);

    /// When the service ended the last session; nothing when it didn't. Outlives the process.
    std::optional<QDateTime> endedAt() const;

    /// Marks whether the service refuses these credentials, which are kept all the same; nothing happens when
    /// the session is another one by now.
    void setCredentialsRefused(const QString &token, bool areRefused);

    /// True when the service refused the session's credentials the last time that it heard them.
    bool areCredentialsRefused() const;

    std::optional<qint64> userId() const;

    /// Returns when the token store has been told all that was set before: a session then outlives a crash,
    /// and one that ended is gone. Blocks; not for the main thread.
    ///
    /// \return false when the store has not taken it, or not within `timeout`.
    bool waitUntilStored(std::chrono::milliseconds timeout = kStoreTimeout);

private:
    struct Session
    {
        std::optional<QString> token = std::nullopt;
        std::optional<QString> refreshToken = std::nullopt;
        std::optional<qint64> userId = std::nullopt;
        std::optional<QDateTime> endedAt = std::nullopt;
        std::optional<QString> ended = std::nullopt;
        bool areRefused = false; // not kept: the next run asks anew
    };

    void load();
    static Session sessionIn(const QByteArray &kept);
    void store();
    bool tell(const Session &session);
    void change(const std::function<void(Session &)> &set);
    void replaceSession(Session session) QUORIN_REQUIRES(m_mutex);

    platform::TokenStore &m_store; // borrowed, outlives this
    const QString m_key;
    mutable platform::Mutex m_mutex;
    Session m_session QUORIN_GUARDED_BY(m_mutex);
    std::int64_t m_number QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_isKnown QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_isStored QUORIN_GUARDED_BY(m_mutex) = true; // what stands now is what the store has
    bool m_isAsking QUORIN_GUARDED_BY(m_mutex) = true; // a question or a word to the store is under way
    std::function<void()> m_whenKnown QUORIN_GUARDED_BY(m_mutex);
    platform::SerialQueue m_queue; // last: drained before the session goes
};

} // namespace gateway::cloud_client
