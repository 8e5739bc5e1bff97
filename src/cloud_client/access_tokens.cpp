#include "cloud_client/access_tokens.h"

#include <algorithm>
#include <utility>

namespace gateway::cloud_client {

namespace {

QByteArray headerOf(const QByteArray &token)
{
    return "Bearer " + token;
}

} // namespace

bool AccessTokens::isGood() const
{
    return !m_token.isEmpty() && (!m_goodUntil || m_clock.monotonic() < *m_goodUntil);
}

QByteArray AccessTokens::header()
{
    bool isMine = false;
    {
        const platform::MutexLock lock(m_mutex);
        if (isGood()) {
            return headerOf(m_token);
        }
        isMine = !std::exchange(m_isFetching, true);
        const quint64 seen = m_fetches;
        while (!isMine && m_fetches == seen) {
            m_fetched.wait(m_mutex);
        }
    }
    if (isMine) {
        fetch();
    }
    const platform::MutexLock lock(m_mutex);
    if (m_error) {
        std::rethrow_exception(m_error);
    }
    return headerOf(m_token);
}

void AccessTokens::fetch()
{
    AccessToken token;
    std::exception_ptr error;
    try {
        token = m_fetch();
    } catch (...) {
        error = std::current_exception();
    }
    const platform::MutexLock lock(m_mutex);
    m_error = error;
    if (!error) {
        take(token);
    }
    m_isFetching = false;
    ++m_fetches;
    m_fetched.notifyAll();
}

void AccessTokens::take(const AccessToken &token)
{
    m_token = token.value;
    m_wasAccepted = false;
    m_goodUntil.reset();
    if (token.lifetime) {
        const std::chrono::nanoseconds whole = *token.lifetime;
        const std::chrono::nanoseconds margin = std::min<std::chrono::nanoseconds>(kMargin, whole / 4);
        m_goodUntil = m_clock.monotonic() + whole - margin;
    }
}

bool AccessTokens::refused(const QByteArray &header, Refusal how)
{
    const platform::MutexLock lock(m_mutex);
    if (headerOf(m_token) != header) {
        return true; // somebody has fetched another one meanwhile, or does so
    }
    if (how == Refusal::notPermitted && !m_wasAccepted) {
        return false;
    }
    m_token.clear();
    return true;
}

void AccessTokens::accepted(const QByteArray &header)
{
    const platform::MutexLock lock(m_mutex);
    m_wasAccepted = m_wasAccepted || headerOf(m_token) == header;
}

} // namespace gateway::cloud_client
