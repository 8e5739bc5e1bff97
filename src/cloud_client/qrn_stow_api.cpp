#include "cloud_client/qrn_stow_api.h"

#include "cloud_client/archive_session.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/stow_batch.h"
#include "cloud_client/stow_query.h"

#include <QtCore/QFile>

#include <algorithm>

namespace gateway::cloud_client {

namespace {

constexpr qint64 kPiece = 1 << 20;

/// More than the header of a part and the ending of a message need.
constexpr qint64 kFraming = 16 * 1024;

[[noreturn]] void throwUnusable()
{
    throw AFError(QStringLiteral("What the cloud service gave isn't one image."),
                  std::nullopt,
                  0,
                  NoAnswer::unusableAnswer);
}

[[noreturn]] void throwNotKept()
{
    throw AFError(QStringLiteral("What the cloud service gave can't be written into a temporary file."),
                  std::nullopt,
                  0,
                  NoAnswer::answerNotKept);
}

/// Up to `most` bytes of the file, from `at` on.
QByteArray read(QFile &file, qint64 at, qint64 most)
{
    QByteArray bytes;
    if (file.seek(at)) {
        bytes = file.read(most);
    }
    if (file.error() != QFile::NoError) {
        throwNotKept();
    }
    return bytes;
}

/// Moves the bytes [begin, end) of a file to its start, and cuts the rest.
void keepOnly(QFile &file, qint64 begin, qint64 end)
{
    for (qint64 at = begin; at < end; at += kPiece) {
        const QByteArray piece = read(file, at, std::min(kPiece, end - at));
        if (piece.isEmpty() || !file.seek(at - begin) || file.write(piece) != piece.size()) {
            throwNotKept();
        }
    }
    if (!file.resize(end - begin)) {
        throwNotKept();
    }
}

/// Takes the one part of a multipart message (RFC 2046 5.1) out of it. The boundary is that of its first
/// line.
void unwrap(QFile &file)
{
    const QByteArray start = read(file, 0, kFraming);
    const qsizetype dashes = start.indexOf("--");
    const qsizetype line = start.indexOf("\r\n", dashes);
    const qsizetype body = start.indexOf("\r\n\r\n", dashes);
    if (dashes < 0 || dashes > 2 || line < 0 || body < 0) {
        throwUnusable();
    }
    const QByteArray ending = "\r\n" + start.mid(dashes, line - dashes).trimmed() + "--";
    const qint64 tailAt = std::max<qint64>(body + 4, file.size() - kFraming);
    const qsizetype end = read(file, tailAt, kFraming).lastIndexOf(ending);
    if (end < 0) {
        throwUnusable();
    }
    keepOnly(file, body + 4, tailAt + end);
}

} // namespace

QVariantMap QrnStowAPI::upload(const CloudSession &session,
                               const QList<StowFile> &files,
                               const QString &deviceId,
                               const UploadProgressCallback &progress)
{
    return StowBatch(m_client, session, files, deviceId, progress).run();
}

QVariantMap QrnStowAPI::upload(const CloudSession &session,
                               const StowFile &file,
                               const QString &deviceId,
                               const UploadProgressCallback &progressCompletion)
{
    return StowBatch(m_client, session, {file}, deviceId, progressCompletion).run();
}

bool QrnStowAPI::isWithoutStore(const CloudSession &session)
{
    try {
        return statusWithoutStore(m_client, session).has_value();
    } catch (const QuorinError &) {
        return false;
    }
}

void QrnStowAPI::retrieve(const CloudSession &session,
                          const platform::InstanceIdentity &identity,
                          const QString &path,
                          qint64 limit)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered) ||
        !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)) {
        throwNotKept();
    }
    ApiCall call;
    call.service = ApiCall::Service::retrieve;
    call.within = session;
    call.path = "/studies/" + pathSegment(identity.study.value()) + "/series/" +
                pathSegment(identity.series.value()) + "/instances/" + pathSegment(identity.instance.value());
    call.accept = "multipart/related; type=\"application/dicom\"; transfer-syntax=*";
    call.isBrief = false;
    call.answerLimit = limit + kFraming;
    call.sink = [&file](QByteArrayView bytes) {
        if (file.write(bytes.data(), bytes.size()) != bytes.size()) {
            throwNotKept();
        }
    };
    const HttpResponse response = m_client.request(call);
    if (response.contentType == "multipart/related") {
        unwrap(file);
    } else if (response.contentType != "application/dicom") {
        throwUnusable();
    }
}

bool QrnStowAPI::isFound(const CloudSession &session, const platform::InstanceIdentity &identity)
{
    return isInstanceFound(m_client, session, identity);
}

bool QrnStowAPI::mayHold(const CloudSession &session, const platform::InstanceIdentity &identity)
{
    return mayInstanceBeHeld(m_client, session, identity);
}

bool QrnStowAPI::isSeriesFound(const CloudSession &session, const platform::InstanceIdentity &identity)
{
    return cloud_client::isSeriesFound(m_client, session, identity);
}

} // namespace gateway::cloud_client
