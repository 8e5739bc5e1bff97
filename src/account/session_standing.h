#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QLatin1StringView>

#include <optional>

namespace gateway::account {

/// How things stand with the session: more than whether there is one, since what a person has to do differs.
enum class SessionState
{
    notKnownYet, ///< nobody has looked yet, or the place that keeps the session hasn't answered
    signedOut,   ///< nobody has signed in, or a person has signed out
    ended,       ///< the cloud has ended it; a person has to sign in again
    signedIn,
    credentialsRefused, ///< an archive, or who gives out its tokens, refuses the kept sign-in; it is tried
                        ///< again
    signInUnavailable   ///< it is kept, and what it takes can't be had now: a token, or the file of one
};

/// The state and since when. Thread: a value, any.
struct SessionStanding
{
    SessionState state = SessionState::notKnownYet;
    std::optional<QDateTime> since = std::nullopt; ///< UTC; of `ended` and of what follows `signedIn`

    bool operator==(const SessionStanding &) const = default;
};

/// The state as it is printed for programs. It never changes.
inline QLatin1StringView rawValue(SessionState state)
{
    switch (state) {
    case SessionState::notKnownYet:
        return QLatin1StringView("notKnownYet");
    case SessionState::signedOut:
        return QLatin1StringView("signedOut");
    case SessionState::ended:
        return QLatin1StringView("ended");
    case SessionState::signedIn:
        return QLatin1StringView("signedIn");
    case SessionState::credentialsRefused:
        return QLatin1StringView("credentialsRefused");
    case SessionState::signInUnavailable:
        return QLatin1StringView("signInUnavailable");
    }
    return {};
}

} // namespace gateway::account
