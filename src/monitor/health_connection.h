#pragma once

#include "platform/descriptors/descriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace gateway::monitor {

/// One connection of the health server: a request comes, waits for its answer, the answer goes, and
/// the connection is closed once the peer has it. Nothing here blocks.
///
/// Owner: HealthServer. Thread: the server's.
class HealthConnection
{
public:
    enum class State
    {
        reading,   ///< the head of the request is still coming
        waiting,   ///< for its answer
        writing,   ///< the answer goes
        lingering, ///< all is sent; what the peer still says is dropped, since a reset would destroy the
                   ///< answer
        over
    };

    /// Takes over an accepted socket. \param now  of a clock that never goes back.
    HealthConnection(platform::Descriptor socket, std::chrono::nanoseconds now);

    int descriptor() const { return m_socket.get(); }
    State state() const { return m_state; }

    /// What `poll` is to watch for.
    short events() const;

    /// Does what the socket allows now.
    void proceed(std::chrono::nanoseconds now);

    /// Ends what has taken too long; a peer that was too slow with its request is told so.
    void checkDeadline(std::chrono::nanoseconds now);

    /// Whether the main thread has had its time to give figures.
    bool hasWaitedEnough(std::chrono::nanoseconds now) const;

    /// The head of the request, once the state is `waiting`.
    const std::string &request() const { return m_request; }

    /// The number of the figures that the request waits for; 0 before they were asked for.
    std::uint64_t wantedFigures() const { return m_wantedFigures; }
    void setWantedFigures(std::uint64_t number) { m_wantedFigures = number; }

    /// Begins to send the answer.
    void answer(std::string bytes, std::chrono::nanoseconds now);

    void hangUp() { m_state = State::over; }

private:
    void enter(State state, std::chrono::nanoseconds now);
    void read(std::chrono::nanoseconds now);
    void write(std::chrono::nanoseconds now);
    void drain();

    platform::Descriptor m_socket;
    State m_state = State::reading;
    std::chrono::nanoseconds m_since; // of the state
    std::string m_request;
    std::uint64_t m_wantedFigures = 0;
    std::string m_answer;
    std::size_t m_sent = 0;
};

} // namespace gateway::monitor
