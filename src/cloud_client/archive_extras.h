#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {

/// A header that an archive, or a proxy before it, wants to see on every request.
struct ArchiveHeader
{
    QByteArray name;
    QByteArray value; ///< may be secret

    bool operator==(const ArchiveHeader &) const = default;
};

/// What an archive wants besides a sign-in: where its services are that aren't at its address, and headers.
///
/// They are part of the session, for the sign-in and the headers go to these addresses.
///
/// Thread: a value, any.
struct ArchiveExtras
{
    QString queryRoot = {};    ///< of QIDO-RS (PS3.18 10.6); empty where that is at the archive's address
    QString retrieveRoot = {}; ///< of WADO-RS (PS3.18 10.4); likewise
    QList<ArchiveHeader> headers = {};

    bool isEmpty() const { return *this == ArchiveExtras(); }
    bool operator==(const ArchiveExtras &) const = default;
};

/// What a file of headers says: one a line, as `Name: value`. Nothing where a line is none. Thread: any.
std::optional<QList<ArchiveHeader>> headersIn(const QByteArray &file);

/// Why these can't be used, in one sentence without what is secret; nothing where they can.
///
/// \param allowPlainHttp  to hosts other than this one.
std::optional<QString> issueWith(const ArchiveExtras &extras, bool allowPlainHttp);

/// The names of the headers, which are no secret.
QString headerNames(const ArchiveExtras &extras);

/// Adds what there is to the record of a session, and reads it from there.
void insertExtras(QJsonObject &record, const ArchiveExtras &extras);
ArchiveExtras extrasIn(const QJsonObject &record);

} // namespace gateway::cloud_client
