#include "cloud/http/http_server.h"

#include "cloud/http/connection.h"
#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/http/tls_context.h"
#include "platform/concurrency/mutex.h"

#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <set>

namespace gateway::cloud {

namespace {

// Each open connection holds a thread; a gateway opens a handful.
constexpr std::size_t kThreads = 64;
constexpr std::chrono::seconds kIdleLimit(60);
constexpr std::chrono::seconds kTransferLimit(30);
constexpr std::size_t kRequestsPerConnection = 1'000'000;
// The library listens with a backlog of 5, too short for a burst of senders.
constexpr int kBacklog = 256;
constexpr std::uint64_t kLargeRest = 256 * 1024;

} // namespace

/// The library's server, with its own way of reading from sockets.
class HttpServer::Engine final : public httplib::Server
{
public:
    Engine(HttpServer::Handler handler, const TlsContext *tls) : m_handler(std::move(handler)), m_tls(tls)
    {
        set_tcp_nodelay(true);
        set_keep_alive_timeout(kIdleLimit.count());
        set_keep_alive_max_count(kRequestsPerConnection);
        set_read_timeout(kTransferLimit.count());
        set_write_timeout(kTransferLimit.count());
        new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
        set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
            handle(request, response);
            return HandlerResponse::Handled;
        });
    }

    int bind(const std::string &host, int port)
    {
        const int bound = port == 0 ? bind_to_any_port(host) : (bind_to_port(host, port) ? port : -1);
        if (bound <= 0 || listen(svr_sock_, kBacklog) != 0) {
            throw ListenError("Can't listen on " + host + " port " + std::to_string(port) + ".");
        }
        return bound;
    }

    void shutDown() QUORIN_EXCLUDES(m_mutex)
    {
        // Ends the accepting, also when it has not begun yet; the library's own stop() would miss that
        // moment.
        shutdown(svr_sock_, SHUT_RDWR);
        const platform::MutexLock lock(m_mutex);
        m_stopping = true;
        for (const int socket : m_open) {
            shutdown(socket, SHUT_RD);
        }
    }

    ConnectionCounts counts() const QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        return {m_accepted, m_open.size(), m_traffic.received, m_traffic.sent};
    }

private:
    using httplib::Server::listen;

    static int listen(int socket, int backlog) { return ::listen(socket, backlog); }

    bool process_and_close_socket(socket_t socket) override
    {
        if (enter(socket)) {
            serveSocket(socket);
        }
        leave(socket);
        close(socket);
        return true;
    }

    void serveSocket(int socket)
    {
        TlsContext::Session session;
        if (m_tls != nullptr) {
            session = m_tls->accept(socket);
            if (!session) {
                return;
            }
        }
        Connection connection(socket, session.get(), m_traffic);
        s_connection = &connection;
        bool closing = false;
        while (!closing && connection.waitForRequest(kIdleLimit)) {
            connection.beginRequest();
            // Stands when the handler isn't reached: behind a malformed head nothing can be told apart.
            s_bodyLeft = true;
            const bool served =
                process_request(connection, false, closing, [&session](httplib::Request &request) {
                    request.ssl = session.get();
                });
            if (served && s_bodyLeft) {
                connection.linger();
            }
            closing |= !served || s_bodyLeft;
        }
        s_connection = nullptr;
        if (connection.isCut()) {
            const struct linger reset{1, 0};
            setsockopt(socket, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        } else if (session) {
            SSL_shutdown(session.get());
        }
    }

    void handle(const httplib::Request &request, httplib::Response &response)
    {
        Exchange exchange(request, response, *s_connection);
        try {
            m_handler(exchange);
        } catch (const HttpProblem &problem) {
            exchange.answer(problem.status(), "application/problem+json", problem.toJson());
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s %s: %s\n", request.method.c_str(), request.path.c_str(), error.what());
            const HttpProblem problem(
                500, ProblemKind::serviceFault, QStringLiteral("The service has a fault."));
            exchange.answer(problem.status(), "application/problem+json", problem.toJson());
        }
        // Reading a small rest is cheaper than a new connection.
        if (exchange.bodyLeft() && exchange.contentLength().value_or(kLargeRest) < kLargeRest) {
            exchange.readBody([](std::string_view) { return true; });
        }
        s_bodyLeft = exchange.bodyLeft();
        if (s_bodyLeft) {
            exchange.setHeader("Connection", "close");
        }
    }

    bool enter(int socket) QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        m_open.insert(socket);
        ++m_accepted;
        return !m_stopping;
    }

    void leave(int socket) QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        m_open.erase(socket);
    }

    const HttpServer::Handler m_handler;
    const TlsContext *const m_tls; // borrowed, outlives this
    Traffic m_traffic;
    mutable platform::Mutex m_mutex;
    std::set<int> m_open QUORIN_GUARDED_BY(m_mutex);
    std::uint64_t m_accepted QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_stopping QUORIN_GUARDED_BY(m_mutex) = false;

    // The library calls the handler on the thread that serves the socket, without a word about the socket.
    static thread_local Connection *s_connection;
    static thread_local bool s_bodyLeft;
};

thread_local Connection *HttpServer::Engine::s_connection = nullptr;
thread_local bool HttpServer::Engine::s_bodyLeft = false;

HttpServer::HttpServer(Handler handler, const TlsContext *tls)
    : m_engine(std::make_unique<Engine>(std::move(handler), tls))
{
}

HttpServer::~HttpServer() = default;

int HttpServer::bind(const std::string &host, int port)
{
    return m_engine->bind(host, port);
}

void HttpServer::run()
{
    m_engine->listen_after_bind();
}

void HttpServer::stop()
{
    m_engine->shutDown();
}

ConnectionCounts HttpServer::counts() const
{
    return m_engine->counts();
}

} // namespace gateway::cloud
