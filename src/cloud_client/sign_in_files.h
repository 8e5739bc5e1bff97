#pragma once

#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

struct ArchiveSignIn;

/// Adds what a file holds as the secret: a password, a token, or the key that signs.
///
/// \return why it can't be read, in one sentence; nothing where it was. Thread: any; blocks.
std::optional<QString> addSecretFrom(const QString &file, ArchiveSignIn &signIn);

/// Adds a client certificate and its key; the same otherwise.
///
/// \param keyFile  empty where the certificate's file holds both.
std::optional<QString>
addCertificateFrom(const QString &certificateFile, const QString &keyFile, ArchiveSignIn &signIn);

} // namespace gateway::cloud_client
