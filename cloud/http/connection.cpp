#include "cloud/http/connection.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace gateway::cloud {

namespace {

// Large enough that a CT image costs two or three system calls.
constexpr std::size_t kBufferSize = 256 * 1024;

// How much and how long a refused sender may go on before the socket is closed on it.
constexpr std::uint64_t kLingerBytes = 64 * 1024 * 1024;
constexpr std::chrono::seconds kLingerTime(5);

// Under a rate limit, the share of a second that one step may take.
constexpr std::uint64_t kStepsPerSecond = 20;

using Name = int (*)(int, sockaddr *, socklen_t *);

void addressOf(int socket, Name name, std::string &ip, int &port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (name(socket, generic, &length) != 0) {
        return;
    }
    char text[NI_MAXHOST] = "";
    if (getnameinfo(generic, length, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0) {
        ip = text;
    }
    if (address.ss_family == AF_INET) {
        port = ntohs(reinterpret_cast<const sockaddr_in *>(&address)->sin_port);
    } else if (address.ss_family == AF_INET6) {
        port = ntohs(reinterpret_cast<const sockaddr_in6 *>(&address)->sin6_port);
    }
}

} // namespace

Connection::Connection(int socket, SSL *ssl, Traffic &traffic)
    : m_socket(socket), m_ssl(ssl), m_traffic(traffic), m_buffer(new char[kBufferSize])
{
}

bool Connection::waitForRequest(std::chrono::seconds limit)
{
    if (m_isCut) {
        return false;
    }
    if (m_start < m_end || (m_ssl != nullptr && SSL_pending(m_ssl) > 0)) {
        return true;
    }
    pollfd waiting{m_socket, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(limit).count()));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && !peek().empty();
}

void Connection::beginRequest()
{
    m_fault = WireFault();
    m_bodyTaken = 0;
    m_transferred = 0;
    m_answerBegan = false;
    m_began = std::chrono::steady_clock::now();
}

std::string_view Connection::peek()
{
    if (m_fault.cutAfterBodyBytes && m_bodyTaken >= *m_fault.cutAfterBodyBytes) {
        cut();
    }
    if (m_isCut) {
        return {};
    }
    if (m_start == m_end) {
        m_start = m_end = 0;
        std::size_t wanted = kBufferSize;
        if (m_fault.bytesPerSecond) {
            wanted = std::clamp<std::size_t>(*m_fault.bytesPerSecond / kStepsPerSecond, 1, kBufferSize);
        }
        const ssize_t got = receive(m_buffer.get(), wanted);
        if (got <= 0) {
            return {};
        }
        m_end = static_cast<std::size_t>(got);
        m_traffic.received += m_end;
        keepRate(m_end);
    }
    std::size_t available = m_end - m_start;
    if (m_fault.cutAfterBodyBytes) {
        available = static_cast<std::size_t>(
            std::min<std::uint64_t>(available, *m_fault.cutAfterBodyBytes - m_bodyTaken));
    }
    return {m_buffer.get() + m_start, available};
}

void Connection::take(std::size_t count)
{
    m_start += count;
    m_bodyTaken += count;
}

void Connection::linger()
{
    if (m_isCut || m_ssl != nullptr) {
        return; // a TLS peer finds its answer in the records that went out before
    }
    shutdown(m_socket, SHUT_WR);
    const auto end = std::chrono::steady_clock::now() + kLingerTime;
    std::uint64_t left = kLingerBytes;
    while (left > 0 && std::chrono::steady_clock::now() < end) {
        pollfd waiting{m_socket, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(kLingerTime).count())) <= 0) {
            return;
        }
        const ssize_t got = recv(m_socket, m_buffer.get(), kBufferSize, 0);
        if (got <= 0) {
            return;
        }
        left -= std::min(left, static_cast<std::uint64_t>(got));
    }
}

bool Connection::is_readable() const
{
    return !m_isCut;
}

bool Connection::is_writable() const
{
    return !m_isCut;
}

ssize_t Connection::read(char *data, size_t size)
{
    const std::string_view available = peek();
    if (available.empty()) {
        return m_isCut ? -1 : 0;
    }
    const std::size_t count = std::min(size, available.size());
    std::memcpy(data, available.data(), count);
    take(count);
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char *data, size_t size)
{
    if (!m_answerBegan) {
        m_answerBegan = true;
        waitOrHangUp(m_fault.delay);
        // A body that was shorter than the limit doesn't save its request.
        if (m_fault.cutBeforeAnswer || m_fault.cutAfterBodyBytes) {
            cut();
        }
    }
    std::size_t done = 0;
    while (done < size) {
        std::size_t step = size - done;
        if (m_fault.bytesPerSecond) {
            step = std::clamp<std::size_t>(*m_fault.bytesPerSecond / kStepsPerSecond, 1, step);
        }
        const ssize_t count = m_isCut ? -1 : send(data + done, step);
        if (count <= 0) {
            m_isCut = true;
            return -1;
        }
        done += static_cast<std::size_t>(count);
        m_traffic.sent += static_cast<std::uint64_t>(count);
        keepRate(static_cast<std::uint64_t>(count));
    }
    return static_cast<ssize_t>(size);
}

void Connection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    addressOf(m_socket, getpeername, ip, port);
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const
{
    addressOf(m_socket, getsockname, ip, port);
}

ssize_t Connection::receive(char *data, std::size_t size)
{
    if (m_ssl != nullptr) {
        return SSL_read(m_ssl, data, static_cast<int>(size));
    }
    ssize_t got = 0;
    do {
        got = recv(m_socket, data, size, 0);
    } while (got < 0 && errno == EINTR);
    return got;
}

ssize_t Connection::send(const char *data, std::size_t size)
{
    if (m_ssl != nullptr) {
        return SSL_write(m_ssl, data, static_cast<int>(std::min<std::size_t>(size, kBufferSize)));
    }
    ssize_t count = 0;
    do {
        count = ::send(m_socket, data, size, MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return count;
}

void Connection::keepRate(std::uint64_t transferred)
{
    if (!m_fault.bytesPerSecond) {
        return;
    }
    m_transferred += transferred;
    const std::chrono::duration<double> due(static_cast<double>(m_transferred) /
                                            static_cast<double>(*m_fault.bytesPerSecond));
    const auto early = m_began + due - std::chrono::steady_clock::now();
    waitOrHangUp(std::chrono::duration_cast<std::chrono::milliseconds>(early));
}

/// Waits on the socket, so that a peer that leaves and a server that stops end the wait.
void Connection::waitOrHangUp(std::chrono::milliseconds duration) const
{
    if (duration.count() > 0) {
        pollfd waiting{m_socket, POLLRDHUP, 0};
        poll(&waiting, 1, static_cast<int>(duration.count()));
    }
}

} // namespace gateway::cloud
