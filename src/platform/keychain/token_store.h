#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::platform {

/// Keeps secret texts between runs, one a key.
///
/// Thread: any; calls block until the store has answered. Nothing here throws.
class TokenStore
{
public:
    virtual ~TokenStore() = default;

    /// The secret under `key`, or nothing when there is none or it can't be had.
    virtual std::optional<QByteArray> read(const QString &key) = 0;

    /// Stores a secret in place of an older one. \return false when it could not be stored.
    virtual bool write(const QString &key, const QByteArray &value) = 0;

    /// Removes a secret; a missing one is no failure. \return false when it may still be there.
    virtual bool remove(const QString &key) = 0;
};

/// The desktop's secret service where one answers, else files in `fallbackFolder`.
///
/// The folder's path also tells the secrets of several homes apart in the one service of a desktop.
std::unique_ptr<TokenStore> makeTokenStore(const QString &fallbackFolder);

} // namespace gateway::platform
