#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

/// Where secrets are kept between runs, one value a key.
///
/// Thread: any; calls may block, for another process may have to answer.
class TokenStore
{
public:
    virtual ~TokenStore() = default;

    /// The value under `key`; nothing when there is none or it can't be read.
    virtual std::optional<QByteArray> read(const QString &key) = 0;

    /// Keeps `value`. \return false when it could not be kept.
    virtual bool write(const QString &key, const QByteArray &value) = 0;

    /// Forgets the value. \return false when it could not be; a missing one is no failure.
    virtual bool remove(const QString &key) = 0;
};

} // namespace gateway::platform
