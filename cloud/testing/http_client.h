#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::cloud::testing {

/// What came back, or what hindered it.
///
/// Thread: any; a value.
struct HttpAnswer
{
    int curlCode = 0; ///< 0 when an answer came whole
    int status = 0;
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;

    QJsonObject object() const { return QJsonDocument::fromJson(body).object(); }

    QJsonArray array() const { return QJsonDocument::fromJson(body).array(); }

    /// The `kind` of a problem, or -1.
    int kind() const { return object().value(QStringLiteral("kind")).toInt(-1); }
};

/// One keep-alive connection to a server, by libcurl.
///
/// Owner: a test. Thread: one at a time.
class HttpClient
{
public:
    explicit HttpClient(QString base);
    ~HttpClient();
    HttpClient(HttpClient &&) noexcept;
    HttpClient(const HttpClient &) = delete;
    HttpClient &operator=(const HttpClient &) = delete;
    HttpClient &operator=(HttpClient &&) = delete;

    HttpClient &withBearer(const QString &token);
    HttpClient &withBasic(const QString &user, const QString &password);
    HttpClient &withHeader(const QByteArray &line);
    HttpClient &withTimeLimit(std::chrono::milliseconds limit);
    HttpClient &withCertificate(const QString &path);

    HttpAnswer get(const QString &path);
    HttpAnswer remove(const QString &path);
    HttpAnswer
    send(const QByteArray &method, const QString &path, const QByteArray &type, const QByteArray &body);
    HttpAnswer post(const QString &path, const QJsonObject &body);

    /// Gives up to `size` bytes at `target`; 0 ends the body.
    using Reader = std::function<std::size_t(char *target, std::size_t size)>;

    /// Sends a body that is made while it is sent. \param length  nothing: sent in chunks.
    HttpAnswer
    stream(const QString &path, const QByteArray &type, std::optional<qint64> length, Reader reader);

private:
    struct Handle;
    HttpAnswer perform(const QByteArray &method, const QString &path, const QByteArray &type);

    const QString m_base;
    std::unique_ptr<Handle> m_handle;
    QList<QByteArray> m_headers;
    Reader m_reader;
};

} // namespace gateway::cloud::testing
