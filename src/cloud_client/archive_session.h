#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// The session with a plain DICOMweb archive: a user name and a password for HTTP Basic (RFC 7617), kept
/// as one encoded token. An archive without sign-in accepts any.

/// The token for a pair; nothing when Basic can't carry it: a colon in the user name, control characters, or
/// more than fits into a header.
std::optional<QString> basicToken(const QString &userName, const QString &password);

/// The token of a session with an archive that wants no sign-in, that of an empty pair. It is never sent.
inline constexpr auto kNoPairToken = "Og==";

/// The user name inside a token; empty when it isn't one.
QString basicUserName(const QString &token);

/// What an archive's answer to a query means.
struct ArchiveAnswer
{
    enum class Meaning
    {
        found,        ///< it answered the query
        signInWanted, ///< 401: without a user name and a password, or with wrong ones
        queryRefused  ///< it has no queries, or none for this user; images it may take all the same
    };

    Meaning meaning;
    int status;
};

/// Asks the archive for one study at most, with the session's pair unless that is refused.
///
/// \throws QrnErrorResponse, AFError  for any answer that no archive gives, such as a web page, and for none.
ArchiveAnswer askArchive(QuorinApiClient &client);

/// The same with another pair.
///
/// \param token  the pair to try.
ArchiveAnswer askArchive(QuorinApiClient &client, const QString &token);

/// Makes sure that the archive doesn't refuse the session's pair; one without queries can't be asked.
///
/// \throws QrnErrorResponse  of kind credentialsRefused when it doesn't.
/// \throws QrnErrorResponse, AFError  as `askArchive`.
void checkArchiveSession(QuorinApiClient &client);

} // namespace gateway::cloud_client
