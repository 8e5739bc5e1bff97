#pragma once

#include "cloud_client/quorin_error.h"

#include <QtCore/QString>

namespace gateway::cloud_client {

/// The error for a call that ended without an answer, with one plain sentence for its cause.
///
/// \param curlCode     libcurl's result.
/// \param systemError  errno of the last connection attempt, 0 for none.
/// \param host         the host of the service, for the sentence.
AFError transportError(int curlCode, int systemError, const QString &host);

/// The error for a proxy that takes no connections; the rest as above.
AFError proxyAwayError(int curlCode, int systemError, const QString &host);

/// The error for a proxy that didn't let a connection through to the service.
///
/// \param status  the proxy's answer to CONNECT.
AFError proxyError(int status, const QString &host);

} // namespace gateway::cloud_client
