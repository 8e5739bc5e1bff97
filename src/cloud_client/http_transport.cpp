#include "cloud_client/http_transport.h"

#include "cloud_client/quorin_error.h"
#include "cloud_client/retry_after.h"
#include "cloud_client/transport_error.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

#include <curl/curl.h>

#include <linux/close_range.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <utility>

namespace gateway::cloud_client {

namespace {

// As many as requests of an upload run side by side, and some for screens: each keeps a connection open, and
// more would do so for nothing.
constexpr std::size_t kIdleHandles = 36;

// A transfer that is slower for long isn't one: a server that takes or gives a byte a second would hold a
// call for ever.
constexpr long kLeastBytesPerSecond = 256;

// More than the longest words of a refusal need.
constexpr qint64 kRefusalLimit = 64 * 1024;

// Large enough that the loop around sending costs little beside the copying.
constexpr long kUploadBuffer = 512 * 1024;

/// libcurl's own start, once a process and before its first handle.
void startCurl()
{
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (started != CURLE_OK) {
        throw std::bad_alloc();
    }
}

/// What the callbacks of one call work on.
struct Exchange
{
    CURL *handle;
    const HttpRequest &request;
    const std::atomic<bool> &isShutDown;
    const std::chrono::seconds answerLimit; // of time, for the answer to a streamed body
    QByteArray body = {};
    qint64 received = 0;
    qint64 reported = -1;
    bool tooLarge = false;
    bool tooLate = false;
    quint16 peerPort = 0; // to which a connection was last tried
    std::optional<std::chrono::steady_clock::time_point> sentAt =
        std::nullopt;                             // when all of the body had left
    std::exception_ptr error = nullptr;           // thrown in a callback; C code can't carry it
    std::array<char, CURL_ERROR_SIZE> words = {}; // libcurl's, about what went wrong
};

QByteArray mediaType(CURL *handle)
{
    const char *type = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &type);
    const QByteArray whole(type);
    return whole.left(whole.indexOf(';') < 0 ? whole.size() : whole.indexOf(';')).trimmed().toLower();
}

long statusOf(CURL *handle)
{
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

/// A refusal in words is brief; one in a dataset names each instance of an upload.
qint64 bodyLimit(const Exchange &exchange)
{
    const bool isBriefRefusal =
        statusOf(exchange.handle) >= 400 && !mediaType(exchange.handle).startsWith("application/dicom");
    return isBriefRefusal ? std::min(kRefusalLimit, exchange.request.answerLimit)
                          : exchange.request.answerLimit;
}

bool isGood(CURL *handle)
{
    return statusOf(handle) >= 200 && statusOf(handle) < 300;
}

std::size_t onBody(char *data, std::size_t size, std::size_t count, void *context)
{
    auto &exchange = *static_cast<Exchange *>(context);
    const std::size_t bytes = size * count;
    exchange.received += static_cast<qint64>(bytes);
    if (exchange.received > bodyLimit(exchange)) {
        exchange.tooLarge = true;
        return 0;
    }
    try {
        if (exchange.request.sink && isGood(exchange.handle)) {
            exchange.request.sink(QByteArrayView(data, static_cast<qsizetype>(bytes)));
        } else {
            exchange.body.append(data, static_cast<qsizetype>(bytes));
        }
    } catch (...) {
        exchange.error = std::current_exception();
        return 0;
    }
    return bytes;
}

std::size_t onRead(char *buffer, std::size_t size, std::size_t count, void *context)
{
    auto &exchange = *static_cast<Exchange *>(context);
    try {
        return static_cast<std::size_t>(
            exchange.request.stream->read(buffer, static_cast<qint64>(size) * static_cast<qint64>(count)));
    } catch (...) {
        exchange.error = std::current_exception();
        return CURL_READFUNC_ABORT;
    }
}

int onSeek(void *context, curl_off_t offset, int origin)
{
    auto &exchange = *static_cast<Exchange *>(context);
    if (origin != SEEK_SET) {
        return CURL_SEEKFUNC_CANTSEEK;
    }
    try {
        exchange.request.stream->seek(offset);
    } catch (...) {
        exchange.error = std::current_exception();
        return CURL_SEEKFUNC_FAIL;
    }
    return CURL_SEEKFUNC_OK;
}

/// True when all of a streamed body has left and the answer takes longer than it may.
bool isTooLate(Exchange &exchange, qint64 sent)
{
    if (exchange.request.stream == nullptr || sent < exchange.request.stream->size()) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    exchange.sentAt = exchange.sentAt.value_or(now);
    return now - *exchange.sentAt > exchange.answerLimit;
}

int onProgress(void *context, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent)
{
    auto &exchange = *static_cast<Exchange *>(context);
    exchange.tooLate = isTooLate(exchange, sent);
    if (exchange.isShutDown || exchange.tooLate) {
        return 1;
    }
    if (exchange.request.progress && exchange.request.stream && sent > exchange.reported) {
        exchange.reported = sent;
        try {
            exchange.request.progress({sent, exchange.request.stream->size()});
        } catch (...) {
            exchange.error = std::current_exception();
            return 1;
        }
    }
    return 0;
}

quint16 portOf(const curl_sockaddr &address)
{
    // Both families keep it at the same place (RFC 3493 3.3).
    sockaddr_in generic{};
    std::memcpy(&generic, &address.addr, std::min<std::size_t>(address.addrlen, sizeof generic));
    return ntohs(generic.sin_port);
}

/// libcurl wakes itself by pairs of sockets that a program started later would inherit; by now they are
/// there. Nothing of this process is to be inherited but standard streams, so all is marked.
void keepFromOtherPrograms()
{
    ::close_range(
        STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC); // since Linux 5.11; without it they are inherited
}

/// A socket that no program started later inherits.
curl_socket_t onOpenSocket(void *exchange, curlsocktype, curl_sockaddr *address)
{
    static_cast<Exchange *>(exchange)->peerPort = portOf(*address);
    keepFromOtherPrograms();
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

QString hostOf(const HttpRequest &request)
{
    return QUrl::fromEncoded(request.url).host();
}

/// Whose connections are spoken of: a host and a port.
QByteArray authorityOf(const HttpRequest &request)
{
    return QUrl::fromEncoded(request.url).authority(QUrl::FullyEncoded).toLatin1();
}

/// True where the handshake failed because the server speaks none of what it was offered (RFC 7301 3.2).
/// Nothing of the request has left by then.
bool isProtocolRefused(CURLcode result, const Exchange &exchange)
{
    return result == CURLE_SSL_CONNECT_ERROR &&
           std::strstr(exchange.words.data(), "no application protocol") != nullptr;
}

struct FreeList
{
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, FreeList>;

HeaderList headerList(const HttpRequest &request)
{
    HeaderList list(curl_slist_append(nullptr, "Expect:"));
    const auto append = [&list](const QByteArray &line) {
        curl_slist *longer = list ? curl_slist_append(list.get(), line.constData()) : nullptr;
        if (longer == nullptr) {
            throw std::bad_alloc();
        }
        // Appending to a list that isn't empty keeps its head.
    };
    for (const auto &[name, value] : request.headers) {
        append(name + ": " + value);
    }
    return list;
}

std::optional<QByteArray> headerOf(CURL *handle, const char *name)
{
    curl_header *header = nullptr;
    return curl_easy_header(handle, name, 0, CURLH_HEADER, -1, &header) == CURLHE_OK
               ? std::optional(QByteArray(header->value))
               : std::nullopt;
}

std::optional<std::chrono::seconds> retryAfter(CURL *handle)
{
    const std::optional<QByteArray> value = headerOf(handle, "Retry-After");
    return value ? parseRetryAfter(*value, QDateTime::currentDateTimeUtc()) : std::nullopt;
}

std::optional<QDateTime> dateOf(CURL *handle)
{
    const std::optional<QByteArray> value = headerOf(handle, "Date");
    return value ? parseHttpDate(*value) : std::nullopt;
}

/// What libcurl has kept of the first certificate that the server showed.
QByteArray serverCertificate(CURL *handle)
{
    constexpr QByteArrayView kMember = "Cert:";
    curl_certinfo *shown = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CERTINFO, &shown);
    if (shown == nullptr || shown->num_of_certs < 1) {
        return {};
    }
    for (const curl_slist *line = shown->certinfo[0]; line != nullptr; line = line->next) {
        const QByteArray text(line->data);
        if (text.startsWith(kMember)) {
            return text.mid(kMember.size());
        }
    }
    return {};
}

void setCertificate(CURL *handle, const ClientCertificate &certificate)
{
    if (certificate.isEmpty()) {
        return;
    }
    const auto setBlob = [handle](CURLoption option, const QByteArray &bytes) {
        // libcurl only reads it, and the request outlives the call.
        curl_blob blob{
            const_cast<char *>(bytes.constData()), static_cast<std::size_t>(bytes.size()), CURL_BLOB_NOCOPY};
        curl_easy_setopt(handle, option, &blob);
    };
    setBlob(CURLOPT_SSLCERT_BLOB, certificate.chain);
    setBlob(CURLOPT_SSLKEY_BLOB, certificate.key);
    curl_easy_setopt(handle, CURLOPT_SSLCERTTYPE, "PEM");
    curl_easy_setopt(handle, CURLOPT_SSLKEYTYPE, "PEM");
}

void setBody(CURL *handle, const HttpRequest &request, Exchange &exchange)
{
    if (request.stream != nullptr) {
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(
            handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.stream->size()));
        curl_easy_setopt(handle, CURLOPT_READFUNCTION, onRead);
        curl_easy_setopt(handle, CURLOPT_READDATA, &exchange);
        curl_easy_setopt(handle, CURLOPT_SEEKFUNCTION, onSeek);
        curl_easy_setopt(handle, CURLOPT_SEEKDATA, &exchange);
        curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBuffer);
    } else if (request.method != "GET" && request.method != "DELETE") {
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.constData());
    }
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.constData());
}

void setCallbacks(CURL *handle, Exchange &exchange)
{
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &exchange);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &exchange);
    curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, onOpenSocket);
    curl_easy_setopt(handle, CURLOPT_OPENSOCKETDATA, &exchange);
}

/// A server that refuses a body early may close, or end the stream (RFC 9113 8.1), before all of it was sent;
/// its refusal counts all the same.
bool isEarlyRefusal(CURLcode result, long status)
{
    return status >= 400 && (result == CURLE_SEND_ERROR || result == CURLE_RECV_ERROR ||
                             result == CURLE_PARTIAL_FILE || result == CURLE_HTTP2_STREAM);
}

/// True when no connection came about, and the one that was tried went elsewhere than to the service.
bool isProxyAway(CURL *handle, CURLcode result, const Exchange &exchange)
{
    if (result != CURLE_COULDNT_CONNECT && result != CURLE_OPERATION_TIMEDOUT) {
        return false;
    }
    double connected = 0;
    const char *address = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CONNECT_TIME, &connected);
    curl_easy_getinfo(handle, CURLINFO_EFFECTIVE_URL, &address);
    const QUrl url(QString::fromUtf8(address));
    const int ownPort = url.port(url.scheme() == QStringLiteral("https") ? 443 : 80);
    return connected <= 0 && exchange.peerPort != 0 && exchange.peerPort != ownPort;
}

/// True for a 408 on a connection that served another request before. A server says so when it ends one that
/// idled (RFC 9110 15.5.9); the next request may find that word in place of its own answer.
bool isOfIdleness(CURL *handle, const HttpResponse &response)
{
    constexpr int kRequestTimeout = 408;
    long opened = 1;
    curl_easy_getinfo(handle, CURLINFO_NUM_CONNECTS, &opened);
    return response.status == kRequestTimeout && opened == 0;
}

long verdictOn(CURL *handle)
{
    long verdict = 0;
    curl_easy_getinfo(handle, CURLINFO_SSL_VERIFYRESULT, &verdict);
    return verdict;
}

void throwUnlessAnswered(CURL *handle, CURLcode result, const Exchange &exchange, const QString &host)
{
    long proxyStatus = 0;
    long systemError = 0;
    curl_easy_getinfo(handle, CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
    curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &systemError);
    if (result != CURLE_OK && proxyStatus >= 300) {
        throw proxyError(static_cast<int>(proxyStatus), host);
    }
    const long status = statusOf(handle);
    if (result == CURLE_OK || isEarlyRefusal(result, status) || (exchange.tooLarge && status >= 400)) {
        return;
    }
    if (exchange.tooLarge) {
        throw AFError(
            QStringLiteral("The answer of the cloud service at %1 is larger than it may be.").arg(host),
            std::nullopt,
            CURLE_WRITE_ERROR,
            NoAnswer::unusableAnswer);
    }
    if (isProxyAway(handle, result, exchange)) {
        throw proxyAwayError({result, static_cast<int>(systemError)}, host);
    }
    if (result == CURLE_RANGE_ERROR) {
        if (status >= 300) {
            return; // a refusal, which has no range either
        }
        constexpr int kRangeNotSatisfiable = 416;
        throw AFError(QStringLiteral("The server at %1 doesn't go on with a file where it ended.").arg(host),
                      kRangeNotSatisfiable);
    }
    const CURLcode cause = exchange.tooLate ? CURLE_OPERATION_TIMEDOUT : result;
    throw transportError({cause, static_cast<int>(systemError), verdictOn(handle), exchange.words.data()},
                         host);
}

} // namespace

/// A handle for the time of one call.
class HttpTransport::Lease
{
public:
    explicit Lease(HttpTransport &transport) : m_transport(transport), m_handle(transport.borrowHandle()) {}
    ~Lease() { m_transport.giveBack(m_handle); }
    Lease(const Lease &) = delete;
    Lease &operator=(const Lease &) = delete;

    CURL *handle() const { return m_handle; }

private:
    HttpTransport &m_transport;
    CURL *m_handle;
};

HttpTransport::HttpTransport(const CloudConfiguration &configuration)
    : m_limits(configuration.limits), m_certificateFile(configuration.certificateFile.toLocal8Bit()),
      m_proxy(configuration.proxy.toUtf8())
{
    startCurl();
}

HttpTransport::~HttpTransport()
{
    const platform::MutexLock lock(m_mutex);
    for (void *handle : m_idle) {
        curl_easy_cleanup(handle);
    }
}

void HttpTransport::shutDown()
{
    m_isShutDown = true;
}

void *HttpTransport::borrowHandle()
{
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_idle.empty()) {
            void *handle = m_idle.back();
            m_idle.pop_back();
            return handle;
        }
    }
    void *handle = curl_easy_init();
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    return handle;
}

void HttpTransport::giveBack(void *handle)
{
    curl_easy_reset(handle); // forgets the call, keeps the connections
    {
        const platform::MutexLock lock(m_mutex);
        if (m_idle.size() < kIdleHandles) {
            m_idle.push_back(handle);
            return;
        }
    }
    curl_easy_cleanup(handle);
}

bool HttpTransport::wantsHttp2(const QByteArray &authority)
{
    const platform::MutexLock lock(m_mutex);
    return m_http2.contains(authority);
}

void HttpTransport::noteHttp2(const QByteArray &authority)
{
    const platform::MutexLock lock(m_mutex);
    m_http2.insert(authority);
}

void HttpTransport::prepare(void *handle, const HttpRequest &request)
{
    curl_easy_setopt(handle, CURLOPT_URL, request.url.constData());
    curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle,
                     CURLOPT_HTTP_VERSION,
                     wantsHttp2(authorityOf(request)) ? CURL_HTTP_VERSION_2TLS : CURL_HTTP_VERSION_1_1);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(handle, CURLOPT_USERAGENT, "QuorinGateway/" QUORIN_VERSION);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, ""); // whatever libcurl can undo
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
    if (!m_certificateFile.isEmpty()) {
        // Stands in for the system's bundle file only; the system's certificate folder still counts.
        curl_easy_setopt(handle, CURLOPT_CAINFO, m_certificateFile.constData());
    }
    if (!m_proxy.isEmpty()) {
        curl_easy_setopt(handle, CURLOPT_PROXY, m_proxy.constData());
    }
    if (isLoopbackHost(hostOf(request))) {
        curl_easy_setopt(handle, CURLOPT_NOPROXY, "*");
    }
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(m_limits.connect.count()));
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, kLeastBytesPerSecond);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_limits.silence.count()));
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, static_cast<long>(request.total.count()));
}

HttpResponse HttpTransport::perform(const HttpRequest &request)
{
    const Lease lease(*this);
    HttpResponse response = performOn(lease.handle(), request, request.wantsServerCertificate);
    if (isOfIdleness(lease.handle(), response)) {
        curl_easy_reset(lease.handle());
        if (request.stream != nullptr) {
            request.stream->seek(0);
        }
        response = performOn(lease.handle(), request, true);
    }
    return response;
}

/// \param isFresh  on a new connection, whatever others are there.
HttpResponse HttpTransport::performOn(void *handle, const HttpRequest &request, bool isFresh)
{
    Exchange exchange{handle, request, m_isShutDown, m_limits.answer};
    const HeaderList headers = headerList(request);
    prepare(handle, request);
    curl_easy_setopt(handle, CURLOPT_RESUME_FROM_LARGE, static_cast<curl_off_t>(request.firstByte));
    setBody(handle, request, exchange);
    setCallbacks(handle, exchange);
    setCertificate(handle, request.certificate);
    if (request.wantsServerCertificate) {
        curl_easy_setopt(handle, CURLOPT_CERTINFO, 1L); // which a connection that is used again doesn't tell
    }
    curl_easy_setopt(handle, CURLOPT_FRESH_CONNECT, isFresh ? 1L : 0L);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, exchange.words.data());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());

    CURLcode result = curl_easy_perform(handle);
    if (isProtocolRefused(result, exchange) && !wantsHttp2(authorityOf(request))) {
        noteHttp2(authorityOf(request));
        curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
        result = curl_easy_perform(handle);
    }

    if (exchange.error) {
        std::rethrow_exception(exchange.error);
    }
    const long status = statusOf(handle);
    const QString host = hostOf(request);
    throwUnlessAnswered(handle, result, exchange, host);
    if (exchange.tooLarge) {
        exchange.body.clear(); // of a refusal: its status says enough
    }
    return {static_cast<int>(status),
            mediaType(handle),
            std::move(exchange.body),
            retryAfter(handle),
            host,
            dateOf(handle),
            request.wantsServerCertificate ? serverCertificate(handle) : QByteArray()};
}

} // namespace gateway::cloud_client
