#pragma once

#include "cloud_client/archive_authorizer.h"
#include "platform/concurrency/mutex.h"

#include <exception>

namespace gateway::cloud_client {

/// Access tokens that are fetched: one fetch for all who wait for it, anew before a token ends, and anew
/// after an archive refused one: by 401, or by 403 where it took that token before. A 403 to one that it
/// never took is about the account, and is believed.
///
/// How long a token is good is counted on the monotonic clock from its coming, so that a wall clock which is
/// off changes nothing.
class AccessTokens final : public ArchiveAuthorizer
{
public:
    /// How long before its end a token is replaced; a quarter of its lifetime where that is less.
    static constexpr std::chrono::seconds kMargin{60};

    AccessTokens(FetchToken fetch, const platform::Clock &clock) : m_fetch(std::move(fetch)), m_clock(clock)
    {
    }

    QByteArray header() override;
    bool refused(const QByteArray &header, Refusal how) override;
    void accepted(const QByteArray &header) override;

private:
    bool isGood() const QUORIN_REQUIRES(m_mutex);
    void fetch();
    void take(const AccessToken &token) QUORIN_REQUIRES(m_mutex);

    const FetchToken m_fetch;
    const platform::Clock &m_clock;
    platform::Mutex m_mutex;
    platform::Condition m_fetched;
    QByteArray m_token QUORIN_GUARDED_BY(m_mutex); // empty for none
    std::optional<std::chrono::nanoseconds>
        m_goodUntil QUORIN_GUARDED_BY(m_mutex);            // monotonic; nothing: unknown
    bool m_wasAccepted QUORIN_GUARDED_BY(m_mutex) = false; // the token, by the archive
    bool m_isFetching QUORIN_GUARDED_BY(m_mutex) = false;
    quint64 m_fetches QUORIN_GUARDED_BY(m_mutex) = 0;      // that are over
    std::exception_ptr m_error QUORIN_GUARDED_BY(m_mutex); // of the last one
};

} // namespace gateway::cloud_client
