#include "platform/dicom/listener_process.h"

#include "platform/dicom/listener_refusal.h"

#include <algorithm>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr int kUnansweredQuestions = 3;
constexpr std::chrono::milliseconds kAtOnce(0);

// A peer that floods the listener with objects must not keep it from being stopped.
constexpr int kRecordsAtOnce = 1000;

} // namespace

ListenerProcess::ListenerProcess(const Setup &setup, const StoreSCPCallbacks &callbacks)
    : m_timeouts(setup.timeouts), m_process(setup.program, QStringLiteral("scp")),
      m_events(callbacks, setup.inbox, m_process.channel()), m_deadline(SteadyClock::now() + m_timeouts.start)
{
    m_process.channel().trySend(setup.start);
}

void ListenerProcess::addDescriptors(std::vector<pollfd> &entries) const
{
    if (!m_channelIsOver) {
        entries.push_back({m_process.channel().descriptor(), POLLIN, 0});
    }
    if (!m_status) {
        entries.push_back({m_process.processDescriptor(), POLLIN, 0});
    }
}

ListenerProcess::TimePoint ListenerProcess::deadline() const
{
    return std::min(m_nextQuestion.value_or(TimePoint::max()), m_deadline.value_or(TimePoint::max()));
}

void ListenerProcess::attend()
{
    // The end first: what it and its associations had told before is still read below.
    noteEnd();
    takeRecords();
    const TimePoint now = SteadyClock::now();
    if (m_nextQuestion && now >= *m_nextQuestion) {
        askForSignOfLife(now);
    }
    if (m_deadline && now >= *m_deadline) {
        kill(now);
    }
}

void ListenerProcess::requestStop()
{
    m_stopRequested = true;
    m_nextQuestion.reset();
    m_deadline = SteadyClock::now() + m_timeouts.unbind;
    m_process.channel().trySend(Record{"stop", {}});
}

bool ListenerProcess::acknowledgeAfter(std::int64_t time)
{
    Record record{"after", {}};
    record.setNumber("time", time);
    return m_process.channel().trySend(record);
}

std::chrono::milliseconds ListenerProcess::listened() const
{
    if (!m_listensSince) {
        return kAtOnce;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        m_listenedUntil.value_or(SteadyClock::now()) - *m_listensSince);
}

void ListenerProcess::takeRecords()
{
    Record record;
    for (int i = 0; i < kRecordsAtOnce && !m_channelIsOver; ++i) {
        switch (m_process.channel().receive(record, kAtOnce)) {
        case Channel::Receipt::record:
            takeRecord(record);
            break;
        case Channel::Receipt::timeout:
            return;
        case Channel::Receipt::broken:
            m_process.kill();
            [[fallthrough]];
        case Channel::Receipt::closed:
            m_channelIsOver = true;
            m_events.failAll(QStringLiteral("The DICOM listener ended before the association."));
            break;
        }
    }
}

void ListenerProcess::takeRecord(const Record &record)
{
    if (m_events.dispatch(record)) {
        return;
    }
    if (record.word == "pong") {
        m_unanswered = 0;
    } else if (record.word == "listening" && !m_stopRequested && !m_status) {
        const TimePoint now = SteadyClock::now();
        m_port = static_cast<int>(record.number("port", 0));
        m_listensSince = now;
        m_deadline.reset();
        m_nextQuestion = now + m_timeouts.signOfLife;
    } else if (record.word == "refused") {
        m_refusal = refusalSentence(record);
        m_isFolderRefused = isOfFolder(record);
    } else if (record.word == "unbound") {
        m_hasUnbound = true;
        m_port.reset();
        m_nextQuestion.reset();
        m_deadline = SteadyClock::now() + m_timeouts.finish;
    }
}

void ListenerProcess::noteEnd()
{
    if (m_status) {
        return;
    }
    m_status = m_process.wait(kAtOnce);
    if (m_status) {
        const TimePoint now = SteadyClock::now();
        m_port.reset();
        m_listenedUntil = now;
        m_nextQuestion.reset();
        m_deadline = now + m_timeouts.finish;
    }
}

/// Counts questions instead of time: a machine that slept for an hour hasn't waited for an answer.
void ListenerProcess::askForSignOfLife(TimePoint now)
{
    if (m_unanswered == kUnansweredQuestions) {
        m_wasSilent = true;
        kill(now);
        return;
    }
    ++m_unanswered;
    m_process.channel().trySend(Record{"ping", {}});
    m_nextQuestion = now + m_timeouts.signOfLife;
}

/// The listener itself at first; the processes of its associations when it is gone and they stay.
void ListenerProcess::kill(TimePoint now)
{
    m_nextQuestion.reset();
    m_deadline = now + m_timeouts.finish;
    if (!m_status) {
        m_process.kill();
    } else if (!m_channelIsOver) {
        m_process.killGroup(); // one of them holds the other end of the channel, so the group is still theirs
    } else {
        m_deadline.reset();
    }
}

} // namespace gateway::platform
