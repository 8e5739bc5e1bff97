#include "wizard/port_check.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace gateway::wizard {

namespace {

constexpr std::chrono::nanoseconds kDebounce{350'000'000};
constexpr int kLastPort = 65535;

} // namespace

PortCheck::PortCheck(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)), m_scope(m_collaborators.main, m_collaborators.pool)
{
    platform::assertMainThread("PortCheck");
}

PortCheck::~PortCheck()
{
    cancel();
}

void PortCheck::cancel()
{
    if (m_portValidationTask) {
        m_portValidationTask->request_stop();
        m_portValidationTask.reset();
    }
    m_isChecking = false;
}

void PortCheck::schedule(std::optional<int> port)
{
    cancel();
    if (!port) {
        forget();
        return;
    }
    m_isChecking = true;
    m_portValidationTask.emplace();
    m_scope.start(validate(*port, m_portValidationTask->get_token()));
}

QCoro::Task<void> PortCheck::validate(int port, std::stop_token stop)
{
    const auto operation = m_scope.enter();
    const bool isDue =
        co_await platform::asyncSleep(m_collaborators.main, m_collaborators.clock, kDebounce, stop);
    if (!isDue || stop.stop_requested()) {
        co_return;
    }
    PortState state = PortState::available;
    if (m_collaborators.ownPort() != port) {
        state = co_await platform::onPool(m_collaborators.main,
                                          m_collaborators.pool,
                                          [probe = m_collaborators.probe, port] { return probe(port); });
    }
    if (stop.stop_requested()) {
        co_return; // another port is entered by now
    }
    m_portValidationTask.reset();
    m_isChecking = false;
    m_checked = Checked{port, state};
    m_collaborators.answerArrived();
}

void PortCheck::verifyNow(std::optional<int> port)
{
    cancel();
    forget();
    if (port) {
        m_checked = Checked{
            *port, m_collaborators.ownPort() == port ? PortState::available : m_collaborators.probe(*port)};
    }
}

std::optional<int> PortCheck::suggest(int start)
{
    const int first = std::clamp(start, 1, kLastPort);
    const std::optional<int> own = m_collaborators.ownPort();
    const auto search = [&](int from, int to) -> std::optional<int> {
        for (int port = from; port <= to; ++port) {
            if (port == own || m_collaborators.probe(port) == PortState::available) {
                return port;
            }
        }
        return std::nullopt;
    };
    std::optional<int> found = search(first, kLastPort);
    if (!found) {
        found = search(1, first - 1);
    }
    if (found) {
        cancel();
        m_checked = Checked{*found, PortState::available};
    }
    return found;
}

void PortCheck::forget()
{
    m_checked.reset();
}

std::optional<PortState> PortCheck::stateOf(int port) const
{
    return m_checked && m_checked->port == port ? std::optional(m_checked->state) : std::nullopt;
}

} // namespace gateway::wizard
