#include "cloud_client/testing/scripted_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace gateway::cloud_client::testing {

namespace {

/// One connection's incoming bytes.
class Incoming
{
public:
    explicit Incoming(int socket) : m_socket(socket) {}

    /// Everything up to and without the blank line; nothing when the peer went away before.
    std::optional<QByteArray> head()
    {
        qsizetype end = m_pending.indexOf("\r\n\r\n");
        while (end < 0) {
            if (!receive()) {
                return std::nullopt;
            }
            end = m_pending.indexOf("\r\n\r\n");
        }
        const QByteArray head = m_pending.left(end);
        m_pending.remove(0, end + 4);
        return head;
    }

    /// Reads `size` bytes and keeps their start; false when the peer went away before.
    bool body(qint64 size, QByteArray &kept)
    {
        const QByteArray early = m_pending.left(size);
        m_pending.remove(0, early.size());
        kept = early.left(ScriptedHttpServer::kKeptBody);
        size -= early.size();
        while (size > 0) {
            const ssize_t count = ::recv(
                m_socket, m_buffer.data(), std::min(m_buffer.size(), static_cast<std::size_t>(size)), 0);
            if (count <= 0) {
                return false;
            }
            size -= count;
            kept.append(m_buffer.data(),
                        std::min<qint64>(count, ScriptedHttpServer::kKeptBody - kept.size()));
        }
        return true;
    }

private:
    bool receive()
    {
        const ssize_t count = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (count > 0) {
            m_pending.append(m_buffer.data(), count);
        }
        return count > 0;
    }

    int m_socket;
    QByteArray m_pending;
    std::array<char, 65536> m_buffer;
};

ReceivedRequest parseHead(const QByteArray &head)
{
    ReceivedRequest request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (const QByteArray &line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.insert(line.left(colon).trimmed().toLower(), line.mid(colon + 1).trimmed());
    }
    return request;
}

bool sendAll(int socket, const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(
            socket, bytes.constData() + sent, static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += count;
    }
    return true;
}

/// False once the other side has gone.
bool drip(int socket, const QByteArray &bytes)
{
    for (const char byte : bytes) {
        pollfd peer{socket, POLLIN, 0};
        if (::poll(&peer, 1, 100) != 0 || !sendAll(socket, QByteArray(1, byte))) {
            return false;
        }
    }
    return true;
}

} // namespace

ScriptedHttpServer::ScriptedHttpServer(Handler handler, Moment moment, Pace pace)
    : m_handler(std::move(handler)), m_moment(moment), m_pace(pace)
{
    m_acceptor = std::thread([this] { acceptLoop(); });
}

ScriptedHttpServer::~ScriptedHttpServer()
{
    ::shutdown(m_listener.descriptor(), SHUT_RDWR);
    m_acceptor.join();
    std::vector<std::thread> threads;
    {
        const platform::MutexLock lock(m_mutex);
        for (const int socket : m_sockets) {
            ::shutdown(socket, SHUT_RDWR);
        }
        threads = std::move(m_threads);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

QUrl ScriptedHttpServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_listener.port()));
}

QList<ReceivedRequest> ScriptedHttpServer::requests() const
{
    const platform::MutexLock lock(m_mutex);
    return m_requests;
}

int ScriptedHttpServer::connectionCount() const
{
    const platform::MutexLock lock(m_mutex);
    return static_cast<int>(m_threads.size());
}

QByteArray ScriptedHttpServer::answer(int status,
                                      const QByteArray &contentType,
                                      const QByteArray &body,
                                      const QByteArray &extraHeaders)
{
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status) + " Said\r\n" + extraHeaders;
    if (!contentType.isEmpty()) {
        bytes += "Content-Type: " + contentType + "\r\n";
    }
    if (status != 204) {
        bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    }
    return bytes + "\r\n" + body;
}

void ScriptedHttpServer::acceptLoop()
{
    for (;;) {
        const int socket = ::accept4(m_listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            return;
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const platform::MutexLock lock(m_mutex);
        m_sockets.push_back(socket);
        const int connection = static_cast<int>(m_threads.size()) + 1;
        m_threads.emplace_back([this, socket, connection] { serve(socket, connection); });
    }
}

void ScriptedHttpServer::serve(int socket, int connection)
{
    Incoming incoming(socket);
    while (const std::optional<QByteArray> head = incoming.head()) {
        ReceivedRequest request = parseHead(*head);
        request.connection = connection;
        request.bodySize = request.headers.value("content-length").toLongLong();
        if (m_moment == Moment::afterHead) {
            sendAll(socket, answerTo(request));
            ::shutdown(socket, SHUT_WR);
            incoming.body(request.bodySize, request.body); // a close over unread bytes would undo the answer
            break;
        }
        if (!incoming.body(request.bodySize, request.body)) {
            break;
        }
        const QByteArray bytes = answerTo(request);
        if (bytes.isEmpty() || !sendAnswer(socket, bytes)) {
            break;
        }
    }
    const platform::MutexLock lock(m_mutex);
    std::erase(m_sockets, socket);
    ::close(socket);
}

bool ScriptedHttpServer::sendAnswer(int socket, const QByteArray &bytes) const
{
    const qsizetype head = m_pace == Pace::atOnce ? bytes.size() : bytes.indexOf("\r\n\r\n") + 4;
    return sendAll(socket, bytes.left(head)) && drip(socket, bytes.mid(head));
}

QByteArray ScriptedHttpServer::answerTo(const ReceivedRequest &request)
{
    {
        const platform::MutexLock lock(m_mutex);
        m_requests.append(request);
    }
    return m_handler(request);
}

} // namespace gateway::cloud_client::testing
