#include "monitor/health_connection.h"

#include "monitor/health_answers.h"
#include "monitor/health_server.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace gateway::monitor {

namespace {

constexpr std::string_view kEndOfHead = "\r\n\r\n";

bool isForLater(ssize_t count)
{
    return count < 0 && (errno == EAGAIN || errno == EINTR);
}

} // namespace

HealthConnection::HealthConnection(platform::Descriptor socket, std::chrono::nanoseconds now)
    : m_socket(std::move(socket)), m_since(now)
{
}

short HealthConnection::events() const
{
    switch (m_state) {
    case State::reading:
    case State::lingering:
        return POLLIN;
    case State::writing:
        return POLLOUT;
    case State::waiting:
    case State::over:
        break;
    }
    return 0;
}

void HealthConnection::proceed(std::chrono::nanoseconds now)
{
    switch (m_state) {
    case State::reading:
        read(now);
        break;
    case State::writing:
        write(now);
        break;
    case State::lingering:
        drain();
        break;
    case State::waiting: // woken only by the peer's end
        hangUp();
        break;
    case State::over:
        break;
    }
}

void HealthConnection::checkDeadline(std::chrono::nanoseconds now)
{
    const std::chrono::nanoseconds spent = now - m_since;
    switch (m_state) {
    case State::reading:
        if (spent >= HealthServer::kRequestTimeout) {
            answer(HealthAnswers::tooSlow(), now);
        }
        break;
    case State::writing:
        if (spent >= HealthServer::kAnswerTimeout) {
            hangUp();
        }
        break;
    case State::lingering:
        if (spent >= HealthServer::kLingerTimeout) {
            hangUp();
        }
        break;
    case State::waiting:
    case State::over:
        break;
    }
}

bool HealthConnection::hasWaitedEnough(std::chrono::nanoseconds now) const
{
    return m_state == State::waiting && now - m_since >= HealthServer::kFiguresTimeout;
}

void HealthConnection::answer(std::string bytes, std::chrono::nanoseconds now)
{
    m_answer = std::move(bytes);
    enter(State::writing, now);
    write(now);
}

void HealthConnection::enter(State state, std::chrono::nanoseconds now)
{
    m_state = state;
    m_since = now;
}

void HealthConnection::read(std::chrono::nanoseconds now)
{
    std::array<char, 1024> chunk{};
    const ssize_t count = ::recv(descriptor(), chunk.data(), chunk.size(), 0);
    if (isForLater(count)) {
        return;
    }
    if (count <= 0) {
        hangUp();
        return;
    }
    m_request.append(chunk.data(), static_cast<std::size_t>(count));
    const std::size_t end = m_request.find(kEndOfHead);
    if (end != std::string::npos && end + kEndOfHead.size() <= HealthServer::kMaxRequestBytes) {
        m_request.resize(end + kEndOfHead.size());
        enter(State::waiting, now);
    } else if (m_request.size() >= HealthServer::kMaxRequestBytes) {
        answer(HealthAnswers::tooLong(), now);
    }
}

void HealthConnection::write(std::chrono::nanoseconds now)
{
    const ssize_t count =
        ::send(descriptor(), m_answer.data() + m_sent, m_answer.size() - m_sent, MSG_NOSIGNAL);
    if (isForLater(count)) {
        return;
    }
    if (count < 0) {
        hangUp();
        return;
    }
    m_sent += static_cast<std::size_t>(count);
    if (m_sent == m_answer.size()) {
        ::shutdown(descriptor(), SHUT_WR);
        enter(State::lingering, now);
    }
}

void HealthConnection::drain()
{
    std::array<char, 4096> chunk{};
    const ssize_t count = ::recv(descriptor(), chunk.data(), chunk.size(), 0);
    if (!isForLater(count) && count <= 0) {
        hangUp();
    }
}

} // namespace gateway::monitor
