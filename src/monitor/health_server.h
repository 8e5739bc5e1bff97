#pragma once

#include "monitor/health_figures.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"
#include "platform/descriptors/event_descriptor.h"
#include "platform/sockets/listening_socket.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::monitor {

/// Serves `/metrics` and `/healthz` over HTTP to anybody who reaches its sockets, without ever making the
/// main thread wait.
///
/// One thread serves all connections and waits for none of them: a request is read as it comes, in a bounded
/// time and size, and an answer goes as the peer takes it. When a request has come, the main thread is asked
/// for figures; one that doesn't give them in time makes `/healthz` say so and `/metrics` tell the last ones.
///
/// Owner: HealthService. Thread: made and destroyed on one; `publish` on any.
class HealthServer
{
public:
    struct Collaborators
    {
        const platform::Clock &clock;
        std::function<void()> askForFigures; ///< from the server's thread; returns at once, `publish` follows
        QString version;
    };

    static constexpr std::chrono::seconds kRequestTimeout{5}; ///< for the whole head of a request
    static constexpr std::chrono::seconds kFiguresTimeout{2}; ///< for the main thread
    static constexpr std::chrono::seconds kAnswerTimeout{10}; ///< for the peer to take the whole answer
    static constexpr std::chrono::seconds kLingerTimeout{1};  ///< for the peer to hang up
    static constexpr std::size_t kMaxRequestBytes = 4096;

    /// At so many connections the oldest one is hung up on for each new one: peers that hold connections open
    /// don't keep others out.
    static constexpr std::size_t kMaxConnections = 64;

    HealthServer(std::vector<platform::ListeningSocket> sockets, Collaborators collaborators);
    ~HealthServer();

    HealthServer(const HealthServer &) = delete;
    HealthServer &operator=(const HealthServer &) = delete;

    /// Gives the server figures, asked for or not.
    void publish(HealthFigures figures);

private:
    class Loop;

    /// What the threads share.
    struct Board
    {
        platform::Mutex mutex;
        std::optional<HealthFigures> figures QUORIN_GUARDED_BY(mutex);
        std::chrono::nanoseconds publishedAt QUORIN_GUARDED_BY(mutex){0};
        std::uint64_t count QUORIN_GUARDED_BY(mutex) = 0; // how often they were published
    };

    const Collaborators m_collaborators;
    platform::EventDescriptor m_wake;
    Board m_board;
    std::unique_ptr<Loop> m_loop;
    platform::Task m_thread; // last
};

} // namespace gateway::monitor
