#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>
#include <utility>

namespace gateway::platform {

/// What a token store says to a question. A store that can't be reached has said nothing about the secret:
/// whoever took that for "there is none" would sign a user out because a keyring is slow.
struct TokenAnswer
{
    enum class Outcome
    {
        found,
        absent,    ///< there is no such secret
        notReached ///< no answer, or one that settles nothing: ask again
    };

    Outcome outcome = Outcome::notReached;
    QByteArray value = {}; ///< of `found`

    bool operator==(const TokenAnswer &) const = default;

    static TokenAnswer found(QByteArray secret) { return {Outcome::found, std::move(secret)}; }
    static TokenAnswer absent() { return {Outcome::absent}; }
    static TokenAnswer notReached() { return {Outcome::notReached}; }
};

/// Keeps secret texts between runs, one a key.
///
/// Thread: any but the main thread; calls block until the store has answered, which may be for as long as
/// nobody unlocks a keyring. Nothing here throws.
class TokenStore
{
public:
    virtual ~TokenStore() = default;

    /// The secret under `key`.
    virtual TokenAnswer read(const QString &key) = 0;

    /// Stores a secret in place of an older one. \return false when it could not be stored.
    virtual bool write(const QString &key, const QByteArray &value) = 0;

    /// Removes a secret; a missing one is no failure. \return false when it may still be there.
    virtual bool remove(const QString &key) = 0;

    /// True when the secrets lie in files that nothing encrypts; false also while that isn't chosen yet.
    /// Returns at once.
    virtual bool keepsPlainFiles() const { return false; }
};

/// The desktop's secret service, else files in `fallbackFolder`.
///
/// The choice is made by the first call and holds from then on. Files are for a machine without a secret
/// service; where there is one that doesn't answer, calls fail until it does, so that no secret gets into a
/// file because a keyring was slow.
///
/// The folder's path also tells the secrets of several homes apart in the one service of a desktop.
std::unique_ptr<TokenStore> makeTokenStore(const QString &fallbackFolder);

} // namespace gateway::platform
