#include "wizard/setup_applier.h"

#include "core/dcm_listener_settings.h"
#include "core/store_errors.h"
#include "wizard/setup_apply.h"

#include <chrono>
#include <utility>

namespace gateway::wizard {

namespace {

constexpr std::chrono::nanoseconds kListenerStartWait{2'000'000'000};
constexpr double kListenerStartWaitSeconds = 2.0;

} // namespace

SetupApplier::SetupApplier(Collaborators collaborators)
    : m_with(std::move(collaborators)), m_scope(m_with.main, m_with.pool)
{
}

PortState SetupApplier::probe(int port) const
{
    // The gateway's own listener is no conflict.
    const auto &receiver = m_with.listener.listenerService().storeListener();
    if (receiver && core::DCMListenerSettings::load(m_with.defaults).port == port) {
        return PortState::available;
    }
    return probePort(port, m_with.bindAddress);
}

std::optional<QString> SetupApplier::issue(const SetupDraft &draft) const
{
    return firstBlockingIssue(draft, [this](int port) { return probe(port); });
}

std::optional<QString> SetupApplier::write(const SetupDraft &draft)
{
    const std::optional<QString> inTheWay = issue(draft);
    return inTheWay ? inTheWay : writeDraft(draft, m_with.settings, m_with.defaults);
}

QCoro::Task<std::optional<QString>> SetupApplier::apply(SetupDraft draft)
{
    const auto operation = m_scope.enter();
    if (m_isApplying) {
        co_return QStringLiteral("Setup is being applied already.");
    }
    std::optional<QString> problem = write(draft);
    if (problem) {
        co_return problem;
    }
    m_isApplying = true;

    problem = co_await restartAndWait();

    if (problem) {
        m_with.listener.listenerService().stopListener();
    } else if (!markSetupCompleted(m_with.settings, m_with.clock.now())) {
        problem = QStringLiteral("The settings could not be written.");
    }
    m_isApplying = false;
    co_return problem;
}

QCoro::Task<std::optional<QString>> SetupApplier::restartAndWait()
{
    receive::StoreListenerService &listener = m_with.listener.listenerService();
    if (listener.storeListener()) {
        listener.stopListener();
    }
    listener.startListener();
    try {
        co_await m_with.listener.waitForListenerStart(kListenerStartWait, kListenerStartWaitSeconds);
    } catch (const core::StoreStartupError &error) {
        co_return error.message;
    }
    co_return std::nullopt;
}

} // namespace gateway::wizard
