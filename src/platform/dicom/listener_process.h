#pragma once

#include "platform/dicom/association_events.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/store_scp.h"

#include <chrono>
#include <optional>
#include <vector>

#include <poll.h>

namespace gateway::platform {

/// How long the processes of a listener may take before they count as hung and are killed.
struct ListenerTimeouts
{
    std::chrono::milliseconds start{60'000}; ///< to listen, or to say why not: a disk may have to wake up
    std::chrono::milliseconds signOfLife{
        5'000};                               ///< between two questions; the third in a row goes unanswered
    std::chrono::milliseconds unbind{3'000};  ///< from a stop until the port is free
    std::chrono::milliseconds finish{15'000}; ///< of the associations, once nobody listens any more
};

/// One quorin-dicom in the role "scp", with the processes of its associations: from its start until the last
/// of them has ended.
///
/// Nothing here waits for a process: whoever owns it polls its descriptors and lets it attend to what has
/// come. Owner: DCMTKStoreSCP::start(). Thread: that one.
class ListenerProcess
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct Setup
    {
        QString program;
        dicom_protocol::Record start; // the first record that it gets
        QString inbox;
        ListenerTimeouts timeouts;
    };

    /// \throws std::system_error when the process can't be started.
    ListenerProcess(const Setup &setup, const StoreSCPCallbacks &callbacks);

    /// Appends what is to be polled for POLLIN.
    void addDescriptors(std::vector<pollfd> &entries) const;

    /// When attend() is due although nothing has come.
    TimePoint deadline() const;

    /// Takes what has come: calls back, notes the end, asks for a sign of life, kills what hangs.
    void attend();

    /// Asks it to let go of the port and to end with its associations.
    void requestStop();

    /// Tells it what others have acknowledged meanwhile: see StoreSCP::acknowledgeAfter(). \return false when
    /// it couldn't be told at this moment.
    bool acknowledgeAfter(std::int64_t time);

    pid_t processId() const { return m_process.processId(); }

    /// The port that it listens on; nothing before and after.
    std::optional<int> port() const { return m_port; }

    /// For how long it listened; 0 when it never did.
    std::chrono::milliseconds listened() const;

    /// Whether it has let go of the port on a stop.
    bool hasUnbound() const { return m_hasUnbound; }

    /// What it ended with: see HelperProcess::wait(). Nothing while it runs.
    std::optional<int> status() const { return m_status; }

    /// Why it couldn't listen, in its own words; else empty.
    const Sentence &refusal() const { return m_refusal; }

    /// Whether that is for the incoming folder.
    bool isFolderRefused() const { return m_isFolderRefused; }

    /// Whether it was killed for giving no sign of life.
    bool wasSilent() const { return m_wasSilent; }

    /// Whether its associations have ended, too.
    bool isOver() const { return m_status && m_channelIsOver; }

private:
    void takeRecords();
    void takeRecord(const dicom_protocol::Record &record);
    void noteEnd();
    void askForSignOfLife(TimePoint now);
    void kill(TimePoint now);

    const ListenerTimeouts m_timeouts;
    HelperProcess m_process;
    AssociationEvents m_events;

    std::optional<int> m_port;
    std::optional<TimePoint> m_listensSince;
    std::optional<TimePoint> m_listenedUntil;
    bool m_hasUnbound = false;
    bool m_stopRequested = false;
    bool m_wasSilent = false;
    bool m_channelIsOver = false;
    std::optional<int> m_status;
    Sentence m_refusal;
    bool m_isFolderRefused = false;

    int m_unanswered = 0;                    // questions for a sign of life
    std::optional<TimePoint> m_nextQuestion; // while it listens
    std::optional<TimePoint> m_deadline;     // whatever it is that is waited for; killed then
};

} // namespace gateway::platform
