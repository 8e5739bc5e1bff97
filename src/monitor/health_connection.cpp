#include "monitor/health_connection.h"

#include "monitor/health_answers.h"
#include "monitor/health_server.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway::monitor {

namespace {

constexpr std::string_view kEndOfHead = "\r\n\r\n";

bool isForLater(ssize_t count)
{
    return count < 0 && (errno == EAGAIN || errno == EINTR);
}

} // namespace

HealthConnection::HealthConnection(int descriptor, std::chrono::nanoseconds now)
    : m_descriptor(descriptor), m_since(now)
{
}

HealthConnection::~HealthConnection()
{
    ::close(m_descriptor);
}

short HealthConnection::events() const
{
    switch (m_state) {
    case State::reading:
    case State::farewell:
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
    case State::farewell:
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
        if (spent >= HealthServer::kRequestPatience) {
            answer(HealthAnswers::tooSlow(), now);
        }
        break;
    case State::writing:
        if (spent >= HealthServer::kAnswerPatience) {
            hangUp();
        }
        break;
    case State::farewell:
        if (spent >= HealthServer::kFarewellPatience) {
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
    return m_state == State::waiting && now - m_since >= HealthServer::kFiguresPatience;
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
    const ssize_t count = ::recv(m_descriptor, chunk.data(), chunk.size(), 0);
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
        ::send(m_descriptor, m_answer.data() + m_sent, m_answer.size() - m_sent, MSG_NOSIGNAL);
    if (isForLater(count)) {
        return;
    }
    if (count < 0) {
        hangUp();
        return;
    }
    m_sent += static_cast<std::size_t>(count);
    if (m_sent == m_answer.size()) {
        ::shutdown(m_descriptor, SHUT_WR);
        enter(State::farewell, now);
    }
}

void HealthConnection::drain()
{
    std::array<char, 4096> chunk{};
    const ssize_t count = ::recv(m_descriptor, chunk.data(), chunk.size(), 0);
    if (!isForLater(count) && count <= 0) {
        hangUp();
    }
}

} // namespace gateway::monitor
