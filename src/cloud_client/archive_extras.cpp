#include "cloud_client/archive_extras.h"

#include "cloud_client/cloud_configuration.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <algorithm>

namespace gateway::cloud_client {

namespace {

const auto kQueryRoot = QStringLiteral("queryRoot");
const auto kRetrieveRoot = QStringLiteral("retrieveRoot");
const auto kHeaders = QStringLiteral("headers");

// Servers take some 8 KiB of headers, and a token has most of that.
constexpr qsizetype kMostHeaders = 16;
constexpr qsizetype kMostBytes = 4 * 1024;

/// Headers that the client sets itself, or that belong to a connection (RFC 9110 7.6.1).
constexpr const char *kOwnHeaders[] = {"accept",
                                       "accept-encoding",
                                       "authorization",
                                       "connection",
                                       "content-encoding",
                                       "content-length",
                                       "content-type",
                                       "expect",
                                       "host",
                                       "keep-alive",
                                       "proxy-authorization",
                                       "proxy-connection",
                                       "range",
                                       "te",
                                       "trailer",
                                       "transfer-encoding",
                                       "upgrade",
                                       "user-agent",
                                       "x-quorin-device"};

bool isToken(const QByteArray &text)
{
    constexpr QByteArrayView kSigns = "!#$%&'*+-.^_`|~"; // RFC 9110 5.6.2
    return !text.isEmpty() && std::ranges::all_of(text, [kSigns](char letter) {
        return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
               (letter >= 'A' && letter <= 'Z') || kSigns.contains(letter);
    });
}

bool isFieldValue(const QByteArray &text)
{
    return !text.isEmpty() && text == text.trimmed() &&
           std::ranges::all_of(text, [](char letter) { return letter >= ' ' && letter <= '~'; });
}

bool isOwn(const QByteArray &name)
{
    return std::ranges::any_of(kOwnHeaders, [&name](const char *own) { return name.toLower() == own; });
}

std::optional<QString> issueWithHeaders(const QList<ArchiveHeader> &headers)
{
    qsizetype bytes = 0;
    for (const ArchiveHeader &header : headers) {
        if (!isToken(header.name) || !isFieldValue(header.value)) {
            return QCoreApplication::translate(
                "Archive",
                "A header needs a name of letters, digits and signs, a colon, and a value of plain "
                "letters, digits and signs.");
        }
        if (isOwn(header.name)) {
            return QCoreApplication::translate("Archive", "The header %1 is set by the gateway itself.")
                .arg(QString::fromLatin1(header.name));
        }
        bytes += header.name.size() + header.value.size();
    }
    if (headers.size() > kMostHeaders || bytes > kMostBytes) {
        return QCoreApplication::translate("Archive",
                                           "An archive can be given 16 headers at most, and 4 KiB of them.");
    }
    return std::nullopt;
}

} // namespace

std::optional<QList<ArchiveHeader>> headersIn(const QByteArray &file)
{
    QList<ArchiveHeader> headers;
    for (const QByteArray &line : file.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (line.trimmed().isEmpty()) {
            continue;
        }
        if (colon < 1) {
            return std::nullopt;
        }
        headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    return headers;
}

std::optional<QString> issueWith(const ArchiveExtras &extras, bool allowPlainHttp)
{
    for (const QString &root : {extras.queryRoot, extras.retrieveRoot}) {
        CloudConfiguration place;
        place.baseUrl = QUrl(root, QUrl::StrictMode);
        place.allowPlainHttp = allowPlainHttp;
        if (!root.isEmpty() && reasonNotToConnect(place)) {
            return QCoreApplication::translate(
                "Archive",
                "A root of an archive's services needs an https address without a user name, a "
                "query or a fragment; plain http is for this computer alone.");
        }
    }
    return issueWithHeaders(extras.headers);
}

QString headerNames(const ArchiveExtras &extras)
{
    QStringList names;
    for (const ArchiveHeader &header : extras.headers) {
        names.append(QString::fromLatin1(header.name));
    }
    return names.join(QStringLiteral(", "));
}

void insertExtras(QJsonObject &record, const ArchiveExtras &extras)
{
    for (const auto &[member, root] :
         {std::pair(kQueryRoot, extras.queryRoot), {kRetrieveRoot, extras.retrieveRoot}}) {
        if (!root.isEmpty()) {
            record.insert(member, root);
        }
    }
    QJsonArray headers;
    for (const ArchiveHeader &header : extras.headers) {
        headers.append(QString::fromLatin1(header.name + ": " + header.value));
    }
    if (!headers.isEmpty()) {
        record.insert(kHeaders, headers);
    }
}

ArchiveExtras extrasIn(const QJsonObject &record)
{
    ArchiveExtras extras{.queryRoot = record.value(kQueryRoot).toString(),
                         .retrieveRoot = record.value(kRetrieveRoot).toString(),
                         .headers = {}};
    const QJsonArray lines = record.value(kHeaders).toArray();
    for (const QJsonValue line : lines) {
        extras.headers += headersIn(line.toString().toLatin1()).value_or(QList<ArchiveHeader>());
    }
    return extras;
}

} // namespace gateway::cloud_client
