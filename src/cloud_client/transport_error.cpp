#include "cloud_client/transport_error.h"

#include <curl/curl.h>
#include <openssl/x509_vfy.h>

#include <QtCore/QCoreApplication>

#include <cerrno>

namespace gateway::cloud_client {

namespace {

constexpr char kContext[] = "CloudClient";

const char *connectSentence(int systemError)
{
    switch (systemError) {
    case ECONNREFUSED:
        return QT_TRANSLATE_NOOP("CloudClient", "The cloud service at %1 refused the connection.");
    case ENETUNREACH:
    case EHOSTUNREACH:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The cloud service at %1 can't be reached from this network.");
    case ETIMEDOUT:
        return QT_TRANSLATE_NOOP("CloudClient", "The cloud service at %1 did not answer in time.");
    default:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The connection to the cloud service at %1 could not be made.");
    }
}

/// True where the server ended the connection over what this side showed of itself: it says so in an alert
/// of TLS, which may come with the handshake or, since version 1.3, with the first bytes after it.
bool isCertificateRefused(const TransportFailure &failure)
{
    return failure.words.contains("alert") && failure.words.contains("certificate");
}

const char *certificateSentence(long verdict)
{
    switch (verdict) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The certificate of the cloud service at %1 has expired, or the clock of this "
            "computer is wrong.");
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The certificate of the cloud service at %1 is not valid yet, or the clock of this "
            "computer is wrong.");
    default:
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The certificate of the cloud service at %1 could not be verified. Where an authority of "
            "your own has signed it, name its PEM file in the setting "
            "QuorinAPI.CertificateFile.");
    }
}

const char *sentence(const TransportFailure &failure)
{
    if (isCertificateRefused(failure)) {
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The server at %1 did not accept the client certificate of this gateway, or wants "
            "one.");
    }
    const int systemError = failure.systemError;
    switch (failure.curlCode) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QT_TRANSLATE_NOOP("CloudClient", "The address of the cloud service, %1, could not be found.");
    case CURLE_COULDNT_RESOLVE_PROXY:
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The address of the web proxy on the way to %1 could not be found; the setting "
            "QuorinAPI.Proxy or the variable https_proxy names it.");
    case CURLE_COULDNT_CONNECT:
        return connectSentence(systemError);
    case CURLE_PROXY:
        return QT_TRANSLATE_NOOP("CloudClient", "The web proxy on the way to %1 refused the connection.");
    case CURLE_OPERATION_TIMEDOUT:
        return QT_TRANSLATE_NOOP("CloudClient", "The cloud service at %1 did not answer in time.");
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return certificateSentence(failure.verdict);
    case CURLE_SSL_CERTPROBLEM:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "The client certificate for the server at %1 can't be used with its key.");
    case CURLE_SSL_CACERT_BADFILE:
        return QT_TRANSLATE_NOOP(
            "CloudClient",
            "The file of certificates for %1, which the setting QuorinAPI.CertificateFile or "
            "QUORIN_CLOUD_CA names, could not be read.");
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_USE_SSL_FAILED:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "A secure connection to the cloud service at %1 could not be made.");
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2_STREAM:
        return QT_TRANSLATE_NOOP("CloudClient", "The connection to the cloud service at %1 was lost.");
    case CURLE_ABORTED_BY_CALLBACK:
        return QT_TRANSLATE_NOOP("CloudClient", "The call to the cloud service at %1 was ended.");
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_BAD_CONTENT_ENCODING:
        return QT_TRANSLATE_NOOP("CloudClient",
                                 "What answered at %1 does not speak the language of the web.");
    default:
        return QT_TRANSLATE_NOOP("CloudClient", "The call to the cloud service at %1 failed.");
    }
}

NoAnswer reasonOf(const TransportFailure &failure)
{
    if (isCertificateRefused(failure)) {
        return NoAnswer::notSecure;
    }
    switch (failure.curlCode) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NoAnswer::addressNotFound;
    case CURLE_COULDNT_CONNECT:
        return failure.systemError == ETIMEDOUT ? NoAnswer::timedOut : NoAnswer::notReachable;
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
    case CURLE_HTTP2_STREAM:
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

AFError transportError(const TransportFailure &failure, const QString &host)
{
    return AFError({kContext, sentence(failure), {host}}, std::nullopt, failure.curlCode, reasonOf(failure));
}

AFError proxyAwayError(const TransportFailure &failure, const QString &host)
{
    return AFError({kContext,
                    QT_TRANSLATE_NOOP(
                        "CloudClient",
                        "The web proxy on the way to %1 can't be reached; the setting QuorinAPI.Proxy or the "
                        "variable https_proxy names it."),
                    {host}},
                   std::nullopt,
                   failure.curlCode,
                   reasonOf(failure));
}

AFError proxyError(int status, const QString &host)
{
    const char *sentence =
        status == 407
            ? QT_TRANSLATE_NOOP("CloudClient",
                                "The web proxy on the way to %1 asks for a sign-in (status %2).")
            : QT_TRANSLATE_NOOP("CloudClient",
                                "The web proxy on the way to %1 refused the connection (status %2).");
    return AFError(
        {kContext, sentence, {host, QString::number(status)}}, std::nullopt, status, NoAnswer::proxyRefused);
}

} // namespace gateway::cloud_client
