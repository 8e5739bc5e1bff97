#pragma once

#include <QtCore/QByteArray>

namespace gateway::updates {

/// True when `signature` is that of `message` by the owner of the key (RFC 8032, pure Ed25519). False for any
/// other bytes, those of a wrong length among them. Thread: any.
///
/// \param publicKey  32 bytes.
/// \param signature  64 bytes.
bool isSignedBy(const QByteArray &publicKey, const QByteArray &message, const QByteArray &signature);

} // namespace gateway::updates
