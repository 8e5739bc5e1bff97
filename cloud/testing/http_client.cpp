#include "cloud/testing/http_client.h"

#include <curl/curl.h>

#include <cstring>

namespace gateway::cloud::testing {

struct HttpClient::Handle
{
    CURL *curl = curl_easy_init();

    Handle() = default;

    ~Handle() { curl_easy_cleanup(curl); }

    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
};

namespace {

std::size_t takeBody(char *data, std::size_t size, std::size_t count, void *answer)
{
    const std::size_t length = size * count;
    static_cast<HttpAnswer *>(answer)->body.append(data, static_cast<qsizetype>(length));
    return length;
}

std::size_t takeHeader(char *data, std::size_t size, std::size_t count, void *answer)
{
    const std::size_t length = size * count;
    const QByteArray line = QByteArray(data, static_cast<qsizetype>(length)).trimmed();
    const qsizetype colon = line.indexOf(':');
    if (colon > 0) {
        static_cast<HttpAnswer *>(answer)->headers.insert(line.left(colon).toLower(),
                                                          line.mid(colon + 1).trimmed());
    }
    return length;
}

std::size_t giveBody(char *target, std::size_t size, std::size_t count, void *reader)
{
    return (*static_cast<HttpClient::Reader *>(reader))(target, size * count);
}

/// Gives the bytes of one array.
HttpClient::Reader readerOf(const QByteArray &bytes)
{
    return [bytes, at = qsizetype{0}](char *target, std::size_t size) mutable {
        const qsizetype count = std::min(static_cast<qsizetype>(size), bytes.size() - at);
        std::memcpy(target, bytes.constData() + at, static_cast<std::size_t>(count));
        at += count;
        return static_cast<std::size_t>(count);
    };
}

} // namespace

HttpClient::HttpClient(QString base) : m_base(std::move(base)), m_handle(std::make_unique<Handle>())
{
    curl_easy_setopt(m_handle->curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle->curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
}

HttpClient::~HttpClient() = default;
HttpClient::HttpClient(HttpClient &&) noexcept = default;

HttpClient &HttpClient::withBearer(const QString &token)
{
    return withHeader("Authorization: Bearer " + token.toUtf8());
}

HttpClient &HttpClient::withBasic(const QString &user, const QString &password)
{
    return withHeader("Authorization: Basic " + (user + u':' + password).toUtf8().toBase64());
}

HttpClient &HttpClient::withHeader(const QByteArray &line)
{
    m_headers.append(line);
    return *this;
}

HttpClient &HttpClient::withTimeLimit(std::chrono::milliseconds limit)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_TIMEOUT_MS, static_cast<long>(limit.count()));
    return *this;
}

HttpClient &HttpClient::withCertificate(const QString &path)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_CAINFO, path.toLocal8Bit().constData());
    return *this;
}

HttpAnswer HttpClient::get(const QString &path)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_HTTPGET, 1L);
    return perform("GET", path, {});
}

HttpAnswer HttpClient::remove(const QString &path)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_HTTPGET, 1L);
    return perform("DELETE", path, {});
}

HttpAnswer HttpClient::send(const QByteArray &method,
                            const QString &path,
                            const QByteArray &type,
                            const QByteArray &body)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_POST, 1L);
    curl_easy_setopt(m_handle->curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    m_reader = readerOf(body);
    return perform(method, path, type);
}

HttpAnswer HttpClient::post(const QString &path, const QJsonObject &body)
{
    return send("POST", path, "application/json", QJsonDocument(body).toJson(QJsonDocument::Compact));
}

HttpAnswer
HttpClient::stream(const QString &path, const QByteArray &type, std::optional<qint64> length, Reader reader)
{
    curl_easy_setopt(m_handle->curl, CURLOPT_POST, 1L);
    curl_easy_setopt(
        m_handle->curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(length.value_or(-1)));
    m_reader = std::move(reader);
    return perform("POST", path, length ? type : type + "\r\nTransfer-Encoding: chunked");
}

HttpAnswer HttpClient::perform(const QByteArray &method, const QString &path, const QByteArray &type)
{
    HttpAnswer answer;
    CURL *curl = m_handle->curl;
    curl_slist *headers = curl_slist_append(nullptr, "Expect:");
    for (const QByteArray &line : m_headers) {
        headers = curl_slist_append(headers, line.constData());
    }
    if (!type.isEmpty()) {
        headers = curl_slist_append(headers, ("Content-Type: " + type).constData());
    }
    curl_easy_setopt(curl, CURLOPT_URL, (m_base + path).toUtf8().constData());
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.constData());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, giveBody);
    curl_easy_setopt(curl, CURLOPT_READDATA, &m_reader);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &answer);
    answer.curlCode = curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    answer.status = static_cast<int>(status);
    curl_slist_free_all(headers);
    return answer;
}

} // namespace gateway::cloud::testing
