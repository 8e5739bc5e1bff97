#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

class TokenStore;

/// The session: whether one exists, and for whom. It outlives the process in the token store.
///
/// Owner: QuorinApiClient. Thread: any; reading and setting never wait for the token store, which is told
/// on a queue of its own.
class NetworkSettings
{
public:
    /// Reads the kept session.
    ///
    /// \param store  outlives this.
    /// \param key    names the service; a session kept for one service is never offered to another.
    NetworkSettings(TokenStore &store, QString key);

    NetworkSettings(const NetworkSettings &) = delete;
    NetworkSettings &operator=(const NetworkSettings &) = delete;

    /// The bearer token, or for a plain archive the encoded Basic credentials; nothing when signed out.
    std::optional<QString> token() const;

    /// Takes a session, or forgets it on a person's word. It is a new beginning: nothing has ended and
    /// nothing was refused.
    void setToken(std::optional<QString> token);

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
    void setUserId(std::optional<qint64> userId);

    /// Returns when the token store has been told all that was set before: a session then outlives a crash,
    /// and one that ended is gone. Blocks; not for the main thread.
    void waitUntilStored();

private:
    struct Session
    {
        std::optional<QString> token;
        std::optional<qint64> userId;
        std::optional<QDateTime> endedAt;
        bool areRefused = false; // not kept: the next run asks anew
    };

    void load();
    void store();

    TokenStore &m_store; // borrowed, outlives this
    const QString m_key;
    mutable Mutex m_mutex;
    Session m_session QUORIN_GUARDED_BY(m_mutex);
    SerialQueue m_queue; // last: drained before the session goes
};

} // namespace gateway::platform
