#pragma once

#include "cloud_client/quorin_error.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace gateway::cloud_client {

/// Why a call ended without an answer, as far as the library tells.
struct TransportFailure
{
    int curlCode = 0;      ///< libcurl's result
    int systemError = 0;   ///< errno of the last connection attempt, 0 for none
    long verdict = 0;      ///< OpenSSL's on the server's certificate, 0 for a good one
    QByteArray words = {}; ///< libcurl's, for its programmers
};

/// The error for a call that ended without an answer, with one plain sentence for its cause.
///
/// \param host  the host of the service, for the sentence.
AFError transportError(const TransportFailure &failure, const QString &host);

/// The error for a proxy that takes no connections; the rest as above.
AFError proxyAwayError(const TransportFailure &failure, const QString &host);

/// The error for a proxy that didn't let a connection through to the service.
///
/// \param status  the proxy's answer to CONNECT.
AFError proxyError(int status, const QString &host);

} // namespace gateway::cloud_client
