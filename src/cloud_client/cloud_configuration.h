#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <chrono>
#include <optional>

namespace gateway::cloud_client {

/// What stands behind the base address.
enum class CloudKind
{
    quorin,  ///< the account service and the DICOMweb service under one address
    dicomweb ///< any DICOMweb archive; the address is its DICOMweb root
};

/// The name of a kind where people give or read it: "quorin" or "dicomweb". Thread: any.
QString cloudKindName(CloudKind kind);

/// The kind of that name, if there is one. Thread: any.
std::optional<CloudKind> cloudKindNamed(const QString &name);

/// How long the client waits.
struct HttpLimits
{
    std::chrono::seconds connect{20};  ///< for name, connection and TLS together
    std::chrono::seconds silence{180}; ///< without a byte in either direction; a server may take that long to
                                       ///< settle a large batch before it answers
    std::chrono::seconds call{60};     ///< for a whole call other than an upload or a query
    std::chrono::seconds answer{600};  ///< for the whole answer to an upload or a query, from the moment when
                                       ///< the request has left
};

/// What is wrong with an address of a cloud.
enum class AddressFault
{
    notOfTheWeb,      ///< no http or https address, or one with a query or a fragment
    holdsCredentials, ///< a user name or a password stands in it
    plainHttp         ///< anyone on the way to another machine can read along
};

/// \param allowPlainHttp  to other machines than this one.
std::optional<AddressFault> faultOf(const QUrl &address, bool allowPlainHttp);

/// Where the cloud service is and how it may be reached.
struct CloudConfiguration
{
    QUrl baseUrl;
    CloudKind kind = CloudKind::quorin;
    bool isGivenAtStart = false; ///< address or kind come from the command line or the environment
    QString deviceId;            ///< sent with the operations that have one
    QString certificateFile;     ///< PEM file of private authorities, added to the system's; empty for none
    QString proxy;               ///< address of a web proxy; empty: what the environment names, if any
    bool allowPlainHttp = false; ///< plain http to hosts other than this one
    HttpLimits limits;
    std::optional<QString> problem; ///< a sentence, when what was configured can't be read
};

/// The places that name the cloud, in the order in which they count.
struct CloudSources
{
    std::optional<QString> urlFlag;  ///< --cloud
    std::optional<QString> kindFlag; ///< --cloud-kind
    QProcessEnvironment environment;
    std::optional<QString> urlDefault;              ///< the user default kCloudBaseUrlKey
    std::optional<QString> kindDefault;             ///< the user default kCloudKindKey
    std::optional<QString> certificateDefault = {}; ///< the user default kCloudCertificateFileKey
    std::optional<QString> proxyDefault = {};       ///< the user default kCloudProxyKey
};

/// Quorin's own cloud, where nothing names another one.
inline constexpr auto kBuiltInCloudAddress = "https://cloud.quorin.example";

inline constexpr auto kCloudBaseUrlKey = "QuorinAPI.BaseURL";
inline constexpr auto kCloudKindKey = "QuorinAPI.Kind";
inline constexpr auto kCloudCertificateFileKey = "QuorinAPI.CertificateFile";
inline constexpr auto kCloudProxyKey = "QuorinAPI.Proxy";

/// Takes each value from the first source that has one, else the built-in one.
CloudConfiguration resolveCloudConfiguration(const CloudSources &sources, const QString &deviceId);

/// True for this machine's own addresses: "localhost", 127.0.0.0/8 and ::1.
bool isLoopbackHost(const QString &host);

/// The sentence that a call fails with when this configuration must not or can't be used; nothing when it
/// can. Plain http is for this machine alone unless it was allowed.
std::optional<QString> reasonNotToConnect(const CloudConfiguration &configuration);

/// The base address, encoded, without a slash at its end.
QByteArray baseAddress(const CloudConfiguration &configuration);

/// Names the service in the token store, so that no session is ever sent to another service.
QString sessionKey(const CloudConfiguration &configuration);

} // namespace gateway::cloud_client
