#pragma once

#include "cloud_client/archive_sign_in.h"

namespace gateway::cloud_client {

class QuorinApiClient;

/// What an archive's answer to a query means.
struct ArchiveAnswer
{
    enum class Meaning
    {
        found,        ///< it answered the query
        signInWanted, ///< 401: without a sign-in, or with a wrong one
        queryRefused  ///< it has no queries, or none for this user; images it may take all the same
    };

    Meaning meaning;
    int status;
};

/// Asks the archive for one study at most, as the session signs in, unless that is refused or can't be had.
///
/// \throws QrnErrorResponse, AFError  for any answer that no archive gives, such as a web page, and for none.
ArchiveAnswer askArchive(QuorinApiClient &client);

/// The same with another sign-in, to try it.
ArchiveAnswer askArchive(QuorinApiClient &client, const ArchiveSignIn &signIn);

/// Makes sure that images can be stored where the archive's address leads, whatever the session: by storing
/// none, which no archive takes (PS3.18, clause 10.5).
///
/// \throws AFError  when nothing there knows of storing; as `askArchive` else.
void checkArchiveStores(QuorinApiClient &client);

/// Makes sure that the archive doesn't refuse the session; one without queries can't be asked.
///
/// \throws QrnErrorResponse  of kind credentialsRefused when it doesn't.
/// \throws QrnErrorResponse, AFError  as `askArchive`.
void checkArchiveSession(QuorinApiClient &client);

} // namespace gateway::cloud_client
