#pragma once

#include "cloud_client/archive_sign_in.h"
#include "cloud_client/cloud_session.h"

#include <optional>

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

/// Whether nothing knows of storing images where the cloud's address leads: it is asked to store none, which
/// no service takes (PS3.18, clause 10.5).
///
/// \param session  the one in which it is asked; whatever stands for none.
/// \return the status by which it says so (404, 405, 410 or 501); nothing for any other answer.
/// \throws AFError  when no answer came.
std::optional<int> statusWithoutStore(QuorinApiClient &client, const std::optional<CloudSession> &session);

/// Makes sure that images can be stored where the archive's address leads, whatever the session.
///
/// \throws AFError  when nothing there knows of storing; as `statusWithoutStore` else.
void checkArchiveStores(QuorinApiClient &client);

/// Makes sure that the archive doesn't refuse the session; one without queries can't be asked.
///
/// \throws QrnErrorResponse  of kind credentialsRefused when it doesn't.
/// \throws QrnErrorResponse, AFError  as `askArchive`.
void checkArchiveSession(QuorinApiClient &client);

} // namespace gateway::cloud_client
