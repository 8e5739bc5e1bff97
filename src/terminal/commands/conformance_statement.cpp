#include "terminal/commands/conformance_statement.h"

#include <QtCore/QMap>

#include <algorithm>

namespace gateway::terminal {

namespace {

constexpr auto kProgram = "Quorin Gateway " QUORIN_VERSION;

// What the helper program `quorin-dicom` says and keeps to; a test holds them together.
constexpr auto kImplementationClassUid = "2.25.249307385516834128930772049117316295811";
constexpr auto kImplementationVersionName = "QUORIN_" QUORIN_VERSION;
constexpr int kMaximumPduBytes = 131'072;
constexpr int kMaximumAssociations = 256;
constexpr int kRequestSeconds = 10;

/// With the names of values as %{name}.
constexpr auto kStatement = R"(# DICOM conformance statement

Written by `quorin-gateway conformance` of %{program}, for its settings: AE title %{aeTitle}, port %{port}, listener %{enabled}.
`conformance --json` has the figures alone.

| | |
|---|---|
| Implementation Class UID | %{classUid} |
| Implementation Version Name | %{versionName} |

## Network: storage service class provider

| | |
|---|---|
| services | Verification (C-ECHO), Storage (C-STORE), as SCP |
| SOP classes | every storage class that is proposed: current, retired and private; every abstract syntax that isn't known to belong to another service counts as storage (decision 0022) |
| transfer syntaxes | each context in the first transfer syntax that its sender proposes, known or not; Explicit VR Little Endian before the other native encodings where it is proposed too (decision 0021) |
| presentation contexts | every one that is proposed is answered, up to the 256 that an identifier can tell apart; an even identifier (PS3.8 9.3.2.2 allows odd ones) is taken like an odd one, since its images would be lost otherwise |
| associations | as many at once as a quarter of the process's descriptors, at most 256, and of one address at most %{perAddress} (`ListenerSettings.associationsPerAddress`; with less than 1,024 descriptors the same share of fewer); beyond that A-ASSOCIATE-RJ, transient, local limit exceeded |
| called and calling AE title | any |
| maximum PDU received | 128 KiB |
| time-outs | 10 s for the association request; %{timeout} s for an idle association (`ListenerSettings.timeout`); A-ABORT where an object or command that has begun comes with less than 1 KiB a second, on the average of a minute |
| A-ABORT | as service provider: reason 2 for a PDU that has no place in an open association, 1 for one of an unknown type, 6 for wrong lengths, contexts that aren't open, fragments of one command in two contexts and datasets that nothing announced; 0 for silence and for an end by the gateway |
| after A-RELEASE-RP | the peer has 10 s to close the connection (ARTIM), then it is closed here |
| role selection, asynchronous operations, user identity, extended negotiation | taken and not used |
| TLS | none; put the listener behind a trusted network |

C-STORE is answered after the object lies durably on disk (file and folder synced).

| status | when |
|---|---|
| 0000 | stored, durable |
| A700 | no space, what all open objects may still write would reach into the reserve, or any other trouble of the disk; the object may be sent again |
| C000 | the command brings no data set |

The data set is kept bit for bit as it came. The file meta information (PS3.10) names the SOP class and instance of the command, the
transfer syntax of the context, our implementation and the sender's AE title.

## DICOMweb: STOW-RS, QIDO-RS and WADO-RS client

Set for %{cloud}. An upload carries up to %{batch}; %{compression}

| | |
|---|---|
| STOW-RS (PS3.18 10.5) | `POST .../studies`, HTTP/1.1, or HTTP/2 where a server refuses that in the TLS handshake, TLS 1.2 or later, the length of the body known beforehand |
| QIDO-RS (PS3.18 10.6) | studies, series and instances, `application/dicom+json`; for the browser of the cloud, and where an answer to an upload can't be read |
| WADO-RS (PS3.18 10.4) | an instance, in any transfer syntax, to compare it with what was sent |
| authorization | %{authorization} |

Uploads `multipart/related; type="application/dicom"`, as JPEG-LS Lossless (1.2.840.10008.1.2.4.80) where the object is native and the result is
proven equal and smaller, else as received (decision 0032). SOP instance UIDs don't change. What goes up has file meta information that agrees
with its data set; a data set without a SOP instance UID gets the one of the command (decision 0200). A whole data set that lacks its last delimiter or padding gets it, and fewer than 8 bytes behind its last
element are left out (decision 0270). An element whose representation is none ("??", blanks) is read by what follows it, and such a data set goes up as
received (decision 0287). An instance, by its study, series and SOP
instance UID, counts as stored when the answer names it in `ReferencedSOPSequence`, with a RetrieveURL in no other place, fails it as already
stored (45070, 0111H), or, where the answer can't be read, when QIDO-RS finds it (decisions 0060, 0202). Where another version of it was sent
before, or the answer says that it is already stored though it can't be from here, it counts only when WADO-RS gives the very same object back
(decisions 0201, 0288).

## Character sets

ISO 646, ISO 8859 and the other single-byte sets of PS3.3 C.12.1.1.2, ISO 2022 with code extensions, GB18030, GBK and UTF-8 are read for the index.
Data sets themselves are never rewritten on the way in.
)";

int perAddress(const core::DCMListenerSettings &listener)
{
    return listener.associationsPerAddress.value_or(core::kDefaultAssociationsPerAddress);
}

QMap<QString, QString> valuesOf(const ConformanceConfiguration &configuration)
{
    const bool isArchive = configuration.cloudKind == QStringLiteral("dicomweb");
    const int batch = std::max(1, configuration.instancesPerUpload);
    return {
        {QStringLiteral("program"), QString::fromLatin1(kProgram)},
        {QStringLiteral("classUid"), QString::fromLatin1(kImplementationClassUid)},
        {QStringLiteral("versionName"), QString::fromLatin1(kImplementationVersionName)},
        {QStringLiteral("aeTitle"), configuration.listener.aeTitle},
        {QStringLiteral("port"), QString::number(configuration.listener.port)},
        {QStringLiteral("enabled"),
         configuration.listener.isEnabled.value_or(true) ? QStringLiteral("on") : QStringLiteral("off")},
        {QStringLiteral("timeout"), QString::number(configuration.listener.timeout.count())},
        {QStringLiteral("perAddress"), QString::number(perAddress(configuration.listener))},
        {QStringLiteral("cloud"),
         isArchive ? QStringLiteral("a DICOMweb archive (`dicomweb`)")
                   : QStringLiteral("Quorin Cloud (`quorin`)")},
        {QStringLiteral("batch"),
         batch == 1 ? QStringLiteral("one instance") : QStringLiteral("%1 instances").arg(batch)},
        {QStringLiteral("compression"),
         configuration.compressesToJpegLs
             ? QStringLiteral("native images are compressed without loss before (`quorinCloudCompressToLS`).")
             : QStringLiteral(
                   "nothing is compressed before (`quorinCloudCompressToLS` is off), so what follows on "
                   "JPEG-LS doesn't apply.")},
        {QStringLiteral("authorization"),
         isArchive ? QStringLiteral(
                         "Basic (RFC 7617); Bearer (RFC 6750) with a token, or with access tokens of OAuth "
                         "2.0 (RFC 6749 4.4, RFC 7523); none after `sign-in --no-auth`; besides, a "
                         "client certificate, as `archive set` says")
                   : QStringLiteral("Bearer (RFC 6750), with the session of the account")}};
}

} // namespace

QJsonObject conformanceJson(const ConformanceConfiguration &configuration)
{
    const core::DCMListenerSettings &listener = configuration.listener;
    return {
        {QStringLiteral("implementationClassUid"), QString::fromLatin1(kImplementationClassUid)},
        {QStringLiteral("implementationVersionName"), QString::fromLatin1(kImplementationVersionName)},
        {QStringLiteral("listener"),
         QJsonObject{{QStringLiteral("aeTitle"), listener.aeTitle},
                     {QStringLiteral("port"), listener.port},
                     {QStringLiteral("isEnabled"), listener.isEnabled.value_or(true)},
                     {QStringLiteral("maximumPduBytes"), kMaximumPduBytes},
                     {QStringLiteral("maximumAssociations"), kMaximumAssociations},
                     {QStringLiteral("associationsPerAddress"), perAddress(listener)},
                     {QStringLiteral("requestSeconds"), kRequestSeconds},
                     {QStringLiteral("idleSeconds"), static_cast<qint64>(listener.timeout.count())}}},
        {QStringLiteral("dicomWeb"),
         QJsonObject{{QStringLiteral("kind"), configuration.cloudKind},
                     {QStringLiteral("instancesPerUpload"), std::max(1, configuration.instancesPerUpload)},
                     {QStringLiteral("compressesToJpegLs"), configuration.compressesToJpegLs}}}};
}

QString conformanceText(const ConformanceConfiguration &configuration)
{
    QString text = QString::fromUtf8(kStatement);
    const QMap<QString, QString> values = valuesOf(configuration);
    for (auto value = values.begin(); value != values.end(); ++value) {
        text.replace(QStringLiteral("%{") + value.key() + u'}', value.value());
    }
    return text;
}

} // namespace gateway::terminal
