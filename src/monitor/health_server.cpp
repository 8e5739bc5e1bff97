#include "monitor/health_server.h"

#include "monitor/health_answers.h"
#include "monitor/health_connection.h"

#include <list>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace gateway::monitor {

namespace {

/// How often deadlines are looked at while there are connections; without any nothing wakes the thread.
constexpr int kTickMilliseconds = 100;

} // namespace

/// The one thread's work.
class HealthServer::Loop
{
public:
    Loop(std::vector<platform::ListeningSocket> sockets,
         const Collaborators &collaborators,
         platform::EventDescriptor &wake,
         Board &board)
        : m_sockets(std::move(sockets)), m_collaborators(collaborators), m_wake(wake), m_board(board)
    {
    }

    void run(const std::stop_token &stop)
    {
        while (!stop.stop_requested()) {
            wait();
            const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
            acceptAll(now);
            for (HealthConnection &connection : m_connections) {
                connection.checkDeadline(now);
            }
            answerWaiting(now);
            m_connections.remove_if([](const HealthConnection &connection) {
                return connection.state() == HealthConnection::State::over;
            });
        }
    }

private:
    /// Sleeps until something happens, and lets the connections that can go on do so.
    void wait()
    {
        std::vector<pollfd> polled{{m_wake.descriptor(), POLLIN, 0}};
        for (HealthConnection &connection : m_connections) {
            polled.push_back({connection.descriptor(), connection.events(), 0});
        }
        if (!std::exchange(m_isStarved, false)) {
            for (const platform::ListeningSocket &socket : m_sockets) {
                polled.push_back({socket.descriptor(), POLLIN, 0});
            }
        }
        const bool hasDeadlines = !m_connections.empty() || polled.size() == 1;
        ::poll(polled.data(), polled.size(), hasDeadlines ? kTickMilliseconds : -1);

        if (polled.front().revents != 0) {
            m_wake.reset();
        }
        const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
        std::size_t index = 1;
        for (HealthConnection &connection : m_connections) {
            if (polled.at(index++).revents != 0) {
                connection.proceed(now);
            }
        }
    }

    void acceptAll(std::chrono::nanoseconds now)
    {
        for (const platform::ListeningSocket &socket : m_sockets) {
            for (platform::Descriptor accepted = accept(socket); accepted.isOpen();
                 accepted = accept(socket)) {
                take(std::move(accepted), now);
            }
            // Without a free descriptor the socket would stay readable: it is left alone for a moment.
            m_isStarved |= errno != EAGAIN && errno != EINTR && errno != ECONNABORTED;
        }
    }

    /// The next connection that waits at the socket, if one does.
    static platform::Descriptor accept(const platform::ListeningSocket &socket)
    {
        return platform::Descriptor(
            ::accept4(socket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    }

    void take(platform::Descriptor accepted, std::chrono::nanoseconds now)
    {
        // Fails on a Unix socket, which needs it as little.
        const int on = 1;
        ::setsockopt(accepted.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        if (m_connections.size() >= kMaxConnections) {
            m_connections.pop_front();
        }
        m_connections.emplace_back(std::move(accepted), now);
    }

    void answerWaiting(std::chrono::nanoseconds now)
    {
        const std::uint64_t published = lastPublished();
        for (HealthConnection &connection : m_connections) {
            if (connection.state() != HealthConnection::State::waiting) {
                continue;
            }
            const std::uint64_t wanted = connection.wantedFigures();
            if (wanted == 0) {
                connection.setWantedFigures(published + 1);
                ask(published + 1);
            } else if (published >= wanted || connection.hasWaitedEnough(now)) {
                connection.answer(m_answers.answer(connection.request(), view(published >= wanted, now)),
                                  now);
            }
        }
    }

    /// Asks the main thread once for the figures of this number, however many requests wait for them.
    void ask(std::uint64_t number)
    {
        if (m_asked < number) {
            m_asked = number;
            m_collaborators.askForFigures();
        }
    }

    std::uint64_t lastPublished() const
    {
        const platform::MutexLock lock(m_board.mutex);
        return m_board.count;
    }

    MetricsView view(bool isMainLoopAnswering, std::chrono::nanoseconds now) const
    {
        MetricsView view;
        {
            const platform::MutexLock lock(m_board.mutex);
            view.figures = m_board.figures;
            if (view.figures) {
                view.age = now - m_board.publishedAt;
            }
        }
        view.isMainLoopAnswering = isMainLoopAnswering;
        view.process = readProcessFigures();
        view.version = m_collaborators.version;
        return view;
    }

    const std::vector<platform::ListeningSocket> m_sockets;
    const Collaborators &m_collaborators;
    platform::EventDescriptor &m_wake;
    Board &m_board;
    HealthAnswers m_answers;
    std::list<HealthConnection> m_connections; // oldest first
    std::uint64_t m_asked = 0;
    bool m_isStarved = false; // of descriptors, at the last try to accept
};

HealthServer::HealthServer(std::vector<platform::ListeningSocket> sockets, Collaborators collaborators)
    : m_collaborators(std::move(collaborators)),
      m_loop(std::make_unique<Loop>(std::move(sockets), m_collaborators, m_wake, m_board)),
      m_thread("health", [this](const std::stop_token &stop) { m_loop->run(stop); })
{
}

HealthServer::~HealthServer()
{
    m_thread.cancel();
    m_wake.set();
    m_thread.join();
}

void HealthServer::publish(HealthFigures figures)
{
    {
        const platform::MutexLock lock(m_board.mutex);
        m_board.figures = std::move(figures);
        m_board.publishedAt = m_collaborators.clock.monotonic();
        ++m_board.count;
    }
    m_wake.set();
}

} // namespace gateway::monitor
