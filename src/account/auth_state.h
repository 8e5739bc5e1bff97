#pragma once

#include <QtCore/QString>

#include <optional>
#include <utility>

namespace gateway::account {

/// Whether there is a cloud session, and whose. A session whose user couldn't be loaded has no name.
///
/// Thread: a value, any.
class AuthState
{
public:
    static AuthState signedIn(std::optional<QString> displayName) { return {true, std::move(displayName)}; }
    static AuthState signedOut() { return {false, std::nullopt}; }

    bool isSignedIn() const { return m_isSignedIn; }
    const std::optional<QString> &displayName() const { return m_displayName; }

    bool operator==(const AuthState &) const = default;

private:
    AuthState(bool isSignedIn, std::optional<QString> displayName)
        : m_isSignedIn(isSignedIn), m_displayName(std::move(displayName))
    {
    }

    bool m_isSignedIn;
    std::optional<QString> m_displayName;
};

} // namespace gateway::account
