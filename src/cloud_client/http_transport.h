#pragma once

#include "cloud_client/cloud_configuration.h"
#include "cloud_client/http_message.h"
#include "platform/concurrency/mutex.h"

#include <atomic>
#include <memory>
#include <set>
#include <vector>

namespace gateway::cloud_client {

/// HTTP over libcurl: blocking calls over connections that are kept and used again.
///
/// HTTP/1.1 is spoken: uploads over HTTP/2 are held up by the small windows that common proxies begin with.
/// Who refuses it in the TLS handshake (RFC 7301 3.2), because nothing but HTTP/2 is spoken there, is met
/// with that from then on.
///
/// Each call borrows a handle, with its open connections, and gives it back; the handle used last is the
/// next to be used, so few connections serve many calls. TLS certificates are always verified, redirects
/// are never followed, and "Expect: 100-continue", which costs a second a request with some servers, is off.
///
/// Owner: QuorinApiClient. Thread: any.
class HttpTransport
{
public:
    explicit HttpTransport(const CloudConfiguration &configuration);
    ~HttpTransport();

    HttpTransport(const HttpTransport &) = delete;
    HttpTransport &operator=(const HttpTransport &) = delete;

    /// Performs one request and returns whatever was answered, with any status.
    ///
    /// \throws AFError  without a response code, when no answer came or it was larger than allowed; the
    ///                  sentence names the cause. With response code 416 when the body was wanted from a byte
    ///                  on and the server gives it from another one. What body source and sink throw comes
    ///                  out as it is.
    HttpResponse perform(const HttpRequest &request);

    /// Ends every call in flight within a second or so; each throws AFError, as does every later call.
    void shutDown();

private:
    class Lease;

    void *borrowHandle();
    void giveBack(void *handle);
    void prepare(void *handle, const HttpRequest &request);
    HttpResponse performOn(void *handle, const HttpRequest &request, bool isFresh);
    bool wantsHttp2(const QByteArray &authority);
    void noteHttp2(const QByteArray &authority);

    const HttpLimits m_limits;
    const QByteArray m_certificateFile;
    const QByteArray m_proxy;
    std::atomic<bool> m_isShutDown = false;
    platform::Mutex m_mutex;
    std::vector<void *> m_idle QUORIN_GUARDED_BY(m_mutex);   // libcurl easy handles
    std::set<QByteArray> m_http2 QUORIN_GUARDED_BY(m_mutex); // the authorities that speak nothing else
};

} // namespace gateway::cloud_client
