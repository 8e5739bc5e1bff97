#pragma once

#include "platform/keychain/token_store.h"

namespace gateway::platform {

/// Keeps secrets in the desktop's secret service, such as a keyring.
///
/// A locked keyring asks its user to unlock it; the call waits for that. Each call opens a session of its
/// own, so that a service which was restarted in between is found again. Owner: app. Thread: any.
class SecretServiceTokenStore final : public TokenStore
{
public:
    /// \param home  tells these secrets from those of other homes in the same service.
    explicit SecretServiceTokenStore(QString home);

    /// What is on this session's bus.
    enum class Presence
    {
        answers, ///< a secret service runs, or was started by asking
        none,
        silent ///< there is one, and it hasn't answered in time
    };

    /// Asks the bus; blocks for as long as a call may take, some 25 seconds.
    static Presence presence();

    TokenAnswer read(const QString &key) override;
    bool write(const QString &key, const QByteArray &value) override;
    bool remove(const QString &key) override;

private:
    bool isThereUnread(const QString &key) const;

    const QString m_home;
};

} // namespace gateway::platform
