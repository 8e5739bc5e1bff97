#include "cloud_client/transport_error.h"

#include <curl/curl.h>

#include <cerrno>

namespace gateway::cloud_client {

namespace {

QString connectSentence(int systemError)
{
    switch (systemError) {
    case ECONNREFUSED:
        return QStringLiteral("The cloud service at %1 refused the connection.");
    case ENETUNREACH:
    case EHOSTUNREACH:
        return QStringLiteral("The cloud service at %1 can't be reached from this network.");
    case ETIMEDOUT:
        return QStringLiteral("The cloud service at %1 did not answer in time.");
    default:
        return QStringLiteral("The connection to the cloud service at %1 could not be made.");
    }
}

QString sentence(int curlCode, int systemError)
{
    switch (curlCode) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("The address of the cloud service, %1, could not be found.");
    case CURLE_COULDNT_RESOLVE_PROXY:
        return QStringLiteral("The address of the web proxy on the way to %1 could not be found; the setting "
                              "QuorinAPI.Proxy or the variable https_proxy names it.");
    case CURLE_COULDNT_CONNECT:
        return connectSentence(systemError);
    case CURLE_PROXY:
        return QStringLiteral("The web proxy on the way to %1 refused the connection.");
    case CURLE_OPERATION_TIMEDOUT:
        return QStringLiteral("The cloud service at %1 did not answer in time.");
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return QStringLiteral(
            "The certificate of the cloud service at %1 could not be verified. Where an authority of "
            "your own has signed it, name its PEM file in the setting "
            "QuorinAPI.CertificateFile.");
    case CURLE_SSL_CACERT_BADFILE:
        return QStringLiteral(
            "The file of certificates for %1, which the setting QuorinAPI.CertificateFile or "
            "QUORIN_CLOUD_CA names, could not be read.");
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_USE_SSL_FAILED:
        return QStringLiteral("A secure connection to the cloud service at %1 could not be made.");
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
        return QStringLiteral("The connection to the cloud service at %1 was lost.");
    case CURLE_ABORTED_BY_CALLBACK:
        return QStringLiteral("The call to the cloud service at %1 was ended.");
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_BAD_CONTENT_ENCODING:
        return QStringLiteral("What answered at %1 does not speak the language of the web.");
    default:
        return QStringLiteral("The call to the cloud service at %1 failed.");
    }
}

NoAnswer reasonOf(int curlCode, int systemError)
{
    switch (curlCode) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NoAnswer::addressNotFound;
    case CURLE_COULDNT_CONNECT:
        return systemError == ETIMEDOUT ? NoAnswer::timedOut : NoAnswer::notReachable;
    case CURLE_PROXY:
        return NoAnswer::proxyRefused;
    case CURLE_OPERATION_TIMEDOUT:
        return NoAnswer::timedOut;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_USE_SSL_FAILED:
        return NoAnswer::notSecure;
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
        return NoAnswer::connectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_BAD_CONTENT_ENCODING:
        return NoAnswer::unusableAnswer;
    default:
        return NoAnswer::otherReason;
    }
}

} // namespace

AFError transportError(int curlCode, int systemError, const QString &host)
{
    return AFError(
        sentence(curlCode, systemError).arg(host), std::nullopt, curlCode, reasonOf(curlCode, systemError));
}

AFError proxyAwayError(int curlCode, int systemError, const QString &host)
{
    return AFError(
        QStringLiteral("The web proxy on the way to %1 can't be reached; the setting QuorinAPI.Proxy or the "
                       "variable https_proxy names it.")
            .arg(host),
        std::nullopt,
        curlCode,
        reasonOf(curlCode, systemError));
}

AFError proxyError(int status, const QString &host)
{
    const QString sentence =
        status == 407 ? QStringLiteral("The web proxy on the way to %1 asks for a sign-in (status %2).")
                      : QStringLiteral("The web proxy on the way to %1 refused the connection (status %2).");
    return AFError(sentence.arg(host).arg(status), std::nullopt, status, NoAnswer::proxyRefused);
}

} // namespace gateway::cloud_client
