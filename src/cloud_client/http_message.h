#pragma once

#include "cloud_client/client_certificate.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QByteArrayView>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace gateway::cloud_client {

/// How far a transfer has come, in bytes.
struct UploadProgress
{
    qint64 completedUnitCount = 0;
    qint64 totalUnitCount = 0;

    /// From 0 to 1.
    double fractionCompleted() const
    {
        return totalUnitCount > 0
                   ? static_cast<double>(completedUnitCount) / static_cast<double>(totalUnitCount)
                   : 0.0;
    }
};

/// Called while a transfer runs, on the thread that runs it. It must not block: the transfer waits for it.
using UploadProgressCallback = std::function<void(const UploadProgress &)>;

/// A body that is made while it is sent, so that its size doesn't matter to memory.
///
/// Thread: the one that performs the request.
class HttpBodySource
{
public:
    virtual ~HttpBodySource() = default;

    /// The exact number of bytes.
    virtual qint64 size() const = 0;

    /// Copies the next bytes, at most `capacity`; fewer only at the end.
    ///
    /// \throws anything; the request ends and the exception comes out of it.
    virtual qint64 read(char *buffer, qint64 capacity) = 0;

    /// Goes on reading at `offset`: an idle connection may turn out dead after the first bytes.
    virtual void seek(qint64 offset) = 0;
};

/// Takes the next bytes of an answer's body, on the thread that performs the request. May throw; the request
/// ends and the exception comes out of it.
using HttpBodySink = std::function<void(QByteArrayView)>;

/// One request, complete but for what the transport adds.
struct HttpRequest
{
    QByteArray method = "GET";
    QByteArray url; ///< absolute and encoded
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    HttpBodySource *stream = nullptr;   ///< borrowed; in place of `body`
    qint64 answerLimit = 4 << 20;       ///< bytes of the answer's body, after decompression
    ClientCertificate certificate = {}; ///< by which the TLS connection knows this gateway

    bool wantsServerCertificate = false; ///< which costs a connection of its own

    qint64 firstByte = 0;            ///< of the body that is wanted (RFC 9110 14.2)
    HttpBodySink sink = {};          ///< takes the body of an answer whose status is a success
    std::chrono::seconds total{0};   ///< for the whole call; 0 for a call whose length depends on its body
    UploadProgressCallback progress; ///< bytes of the body that have left
};

/// An answer, whatever its status.
struct HttpResponse
{
    int status = 0;
    QByteArray contentType; ///< lower case, without parameters
    QByteArray body;
    std::optional<std::chrono::seconds> retryAfter = {}; ///< as far as the server asks to be left alone
    QString host = {};                                   ///< whose answer it is, as far as the address tells
    std::optional<QDateTime> date = {};                  ///< the server's time, UTC
    QByteArray serverCertificate = {};                   ///< in PEM, where it was wanted and there is one
    QByteArrayList secrets = {}; ///< of the session that asked: what the answer says is told without them

    bool isSuccess() const { return status >= 200 && status < 300; }
};

} // namespace gateway::cloud_client
