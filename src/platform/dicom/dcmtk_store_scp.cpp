#include "platform/dicom/dcmtk_store_scp.h"

#include "platform/dicom/restart_pause.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <list>
#include <system_error>
#include <utility>

namespace gateway::platform {

using dicom_protocol::Record;
using Cause = StoreSCPInterruption::Cause;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr char kContext[] = "Listener";
constexpr std::int32_t kFailed = 1;
constexpr std::chrono::seconds kTimeOfAKill(2);
constexpr int kFirstSignalStatus = 129; // 128 plus the number of a signal

ListenerProcess::Setup setupFor(const StoreSCPConfig &config, const StoreSCPEnvironment &environment)
{
    const QString inbox = config.incomingPath.value_or(environment.defaultIncomingPath);
    Record record{"start",
                  {{"bind", config.bindAddress.toStdString()},
                   {"inbox", QFile::encodeName(inbox).toStdString()},
                   {"inboxid", config.incomingFolderId.toStdString()}}};
    record.setNumber("port", config.port);
    record.setNumber("timeout", config.timeout.count());
    record.setNumber("peraddress", config.associationsPerAddress);
    record.setNumber("reserve", environment.reserveBytes);
    return {environment.helperProgram, std::move(record), inbox, environment.timeouts};
}

Sentence endSentence(const ListenerProcess &process)
{
    const int status = process.status().value_or(0);
    if (process.wasSilent()) {
        return {kContext,
                QT_TRANSLATE_NOOP("Listener",
                                  "The DICOM listener's process gave no sign of life and was ended.")};
    }
    if (!process.refusal().isEmpty()) {
        return process.refusal();
    }
    if (status < kFirstSignalStatus) {
        return {kContext,
                QT_TRANSLATE_NOOP("Listener", "The DICOM listener's process ended unexpectedly (status %1)."),
                {QString::number(status)}};
    }
    return {kContext,
            QT_TRANSLATE_NOOP("Listener", "The DICOM listener's process was ended by signal %1."),
            {QString::number(status - 128)}};
}

} // namespace

/// What start() works on; of its thread alone.
struct DCMTKStoreSCP::Run
{
    ListenerProcess::Setup setup;
    StoreSCPCallbacks callbacks;
    std::unique_ptr<ListenerProcess> current = nullptr; // the one that listens, or is to
    std::list<std::unique_ptr<ListenerProcess>> former =
        {}; // their associations may still finish their object
    RestartPause pause = {};
    std::optional<SteadyClock::time_point> startAgainAt = std::nullopt;
    bool hasListened = false;
    bool isInterrupted = false;
    bool stopSent = false;
    std::int64_t orderSent = 0; // what `current` knows
    std::int32_t result = 0;

    bool isOver() const { return !current && !startAgainAt && former.empty(); }
};

DCMTKStoreSCP::DCMTKStoreSCP(StoreSCPEnvironment environment) : m_environment(std::move(environment)) {}

std::int32_t DCMTKStoreSCP::start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks)
{
    acknowledgeAfter(config.acknowledgeAfter);
    Run run{.setup = setupFor(config, m_environment), .callbacks = std::move(callbacks)};
    if (begin()) {
        launch(run);
        publish(run);
    }
    while (!run.isOver()) {
        waitForNews(run);
        attend(run);
        publish(run);
    }
    return finish(run);
}

/// False when a stop came first.
bool DCMTKStoreSCP::begin()
{
    const MutexLock lock(m_mutex);
    m_mayHoldPort = !m_stopRequested;
    return m_mayHoldPort;
}

void DCMTKStoreSCP::launch(Run &run)
{
    run.startAgainAt.reset();
    run.orderSent = orderSoFar();
    run.setup.start.setNumber("after", run.orderSent);
    try {
        run.current = std::make_unique<ListenerProcess>(run.setup, run.callbacks);
    } catch (const std::system_error &error) {
        const Sentence message(kContext,
                               QT_TRANSLATE_NOOP("Listener", "The DICOM listener can't be started: %1."),
                               {QString::fromLocal8Bit(error.what())});
        setMessage(message);
        run.result = kFailed;
        if (run.hasListened) {
            interrupt(run, Cause::notStarted, 0, message);
        }
    }
}

void DCMTKStoreSCP::waitForNews(const Run &run) const
{
    std::vector<pollfd> entries{{m_wake.descriptor(), POLLIN, 0}};
    auto next = run.startAgainAt.value_or(SteadyClock::time_point::max());
    const auto add = [&](const ListenerProcess &process) {
        process.addDescriptors(entries);
        next = std::min(next, process.deadline());
    };
    if (run.current) {
        add(*run.current);
    }
    for (const auto &process : run.former) {
        add(*process);
    }
    int span = -1;
    if (next != SteadyClock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - SteadyClock::now());
        span = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
    }
    ::poll(entries.data(), entries.size(), span);
}

void DCMTKStoreSCP::attend(Run &run)
{
    m_wake.reset();
    if (!run.stopSent && stopRequested()) {
        run.stopSent = true;
        run.startAgainAt.reset();
        if (run.current) {
            run.current->requestStop();
        }
    }
    if (run.current) {
        tellOrder(run);
        run.current->attend();
        if (run.current->port() && (!run.hasListened || run.isInterrupted)) {
            onListening(run);
        }
        if (run.current->status()) {
            onEnd(run);
            publish(run); // before a callback asks the folder, which may take its time
        }
    } else if (run.startAgainAt && SteadyClock::now() >= *run.startAgainAt) {
        launch(run);
    }
    // After the one that may just have joined them, whose associations may be over already.
    for (const auto &process : run.former) {
        process->attend();
        if (process->isOver() && process->listened().count() > 0 && run.callbacks.leftFiles) {
            run.callbacks.leftFiles();
        }
    }
    run.former.remove_if([](const auto &process) { return process->isOver(); });
}

void DCMTKStoreSCP::tellOrder(Run &run)
{
    const std::int64_t order = orderSoFar();
    if (order > run.orderSent && run.current->acknowledgeAfter(order)) {
        run.orderSent = order;
    }
}

void DCMTKStoreSCP::onListening(Run &run)
{
    run.hasListened = true;
    setMessage({});
    publish(run); // whoever is told now may ask for the port
    const auto &tell =
        std::exchange(run.isInterrupted, false) ? run.callbacks.resumed : run.callbacks.listening;
    if (tell) {
        tell();
    }
}

/// The process that listened, or should have, has ended.
void DCMTKStoreSCP::onEnd(Run &run)
{
    ListenerProcess &ended = *run.former.emplace_back(std::move(run.current));
    const int status = *ended.status();
    run.result = ended.isFolderRefused() ? kFolderRefused : status == 0 ? kFailed : status;
    if (run.stopSent) {
        return;
    }
    const Sentence message = endSentence(ended);
    setMessage(message);
    if (run.hasListened) {
        const Cause ending = ended.wasSilent() ? Cause::silent : Cause::ended;
        interrupt(run, ended.listened().count() > 0 ? ending : Cause::notStarted, status, message);
    }
}

void DCMTKStoreSCP::interrupt(Run &run, Cause cause, int status, const Sentence &message)
{
    const auto listened = cause == Cause::notStarted || run.former.empty() ? std::chrono::milliseconds(0)
                                                                           : run.former.back()->listened();
    const std::chrono::milliseconds pause = run.pause.next(listened);
    run.isInterrupted = true;
    run.startAgainAt = SteadyClock::now() + pause;
    if (run.callbacks.interrupted) {
        run.callbacks.interrupted({cause, status, message, pause});
    }
}

/// Makes known to other threads how things stand.
void DCMTKStoreSCP::publish(const Run &run)
{
    const std::optional<int> port = run.current ? run.current->port() : std::nullopt;
    const MutexLock lock(m_mutex);
    m_port = port;
    m_processId = run.current ? std::optional(run.current->processId()) : std::nullopt;
    m_mayHoldPort = run.startAgainAt || (run.current && !run.current->hasUnbound());
    m_changed.notifyAll();
}

void DCMTKStoreSCP::setMessage(const Sentence &message)
{
    const MutexLock lock(m_mutex);
    m_message = message;
}

std::int32_t DCMTKStoreSCP::finish(const Run &run)
{
    const MutexLock lock(m_mutex);
    m_isOver = true;
    m_mayHoldPort = false;
    m_changed.notifyAll();
    return m_stopRequested ? 0 : run.result;
}

bool DCMTKStoreSCP::stopRequested() const
{
    const MutexLock lock(m_mutex);
    return m_stopRequested;
}

std::int64_t DCMTKStoreSCP::orderSoFar() const
{
    const MutexLock lock(m_mutex);
    return m_acknowledgeAfter;
}

void DCMTKStoreSCP::stop()
{
    const MutexLock lock(m_mutex);
    m_stopRequested = true;
    m_wake.set();
}

void DCMTKStoreSCP::acknowledgeAfter(std::int64_t time)
{
    const MutexLock lock(m_mutex);
    m_acknowledgeAfter = std::max(m_acknowledgeAfter, time);
    m_wake.set();
}

void DCMTKStoreSCP::awaitFreePort()
{
    // The thread in start() may be held by a callback that asks a share which is dead: nobody waits for that.
    const auto end = SteadyClock::now() + m_environment.timeouts.unbind + kTimeOfAKill;
    const MutexLock lock(m_mutex);
    while (m_mayHoldPort && SteadyClock::now() < end) {
        m_changed.waitUntil(m_mutex, end);
    }
}

std::optional<int> DCMTKStoreSCP::awaitPort()
{
    const MutexLock lock(m_mutex);
    while (!m_port && !m_isOver) {
        m_changed.wait(m_mutex);
    }
    return m_port;
}

std::optional<int> DCMTKStoreSCP::boundPort() const
{
    const MutexLock lock(m_mutex);
    return m_port;
}

std::optional<pid_t> DCMTKStoreSCP::processId() const
{
    const MutexLock lock(m_mutex);
    return m_processId;
}

Sentence DCMTKStoreSCP::lastMessage() const
{
    const MutexLock lock(m_mutex);
    return m_message;
}

} // namespace gateway::platform
