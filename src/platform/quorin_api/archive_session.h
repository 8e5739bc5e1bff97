#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

class QuorinApiClient;

/// The session with a plain DICOMweb archive: a user name and a password for HTTP Basic (RFC 7617), kept
/// as one encoded token. An archive without sign-in accepts any.

/// The token for a pair; nothing when the user name holds a colon, which Basic can't carry.
std::optional<QString> basicToken(const QString &userName, const QString &password);

/// The user name inside a token; empty when it isn't one.
QString basicUserName(const QString &token);

/// Asks the archive for one study at most.
///
/// \param token  the pair to try; the session's own when absent.
/// \return the HTTP status.
/// \throws AFError  without a response code when no answer came.
int askArchive(QuorinApiClient &client, const std::optional<QString> &token = std::nullopt);

/// Makes sure that the archive takes the session's pair.
///
/// \throws QrnErrorResponse  of kind credentialsRefused when it doesn't.
/// \throws AFError           for any other answer than a good one, and for none.
void checkArchiveSession(QuorinApiClient &client);

} // namespace gateway::platform
