#include "app/setup_desk.h"

#include "core/dcm_listener_settings.h"
#include "core/store_errors.h"
#include "wizard/setup_apply.h"

#include <chrono>
#include <utility>

namespace gateway::app {

namespace {

constexpr std::chrono::nanoseconds kListenerStartWait{2'000'000'000};
constexpr double kListenerStartWaitSeconds = 2.0;

} // namespace

SetupDesk::SetupDesk(Collaborators collaborators)
    : m_with(std::move(collaborators)), m_scope(m_with.main, m_with.pool)
{
}

wizard::PortState SetupDesk::probe(int port) const
{
    // The gateway's own listener is no conflict.
    const auto &receiver = m_with.store.listenerService().storeListener();
    if (receiver && core::DCMListenerSettings::load(m_with.defaults).port == port) {
        return wizard::PortState::available;
    }
    return wizard::probePort(port, m_with.bindAddress);
}

std::optional<QString> SetupDesk::issue(const wizard::SetupDraft &draft) const
{
    return wizard::firstBlockingIssue(draft, [this](int port) { return probe(port); });
}

std::optional<QString> SetupDesk::write(const wizard::SetupDraft &draft)
{
    const std::optional<QString> inTheWay = issue(draft);
    return inTheWay ? inTheWay : wizard::writeDraft(draft, m_with.settings, m_with.defaults);
}

QCoro::Task<std::optional<QString>> SetupDesk::apply(wizard::SetupDraft draft)
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
        m_with.store.listenerService().stopListener();
    } else if (!wizard::markSetupCompleted(m_with.settings, m_with.clock.now())) {
        problem = QStringLiteral("The settings could not be written.");
    }
    m_isApplying = false;
    co_return problem;
}

QCoro::Task<std::optional<QString>> SetupDesk::restartAndWait()
{
    receive::StoreListenerService &listener = m_with.store.listenerService();
    if (listener.storeListener()) {
        listener.stopListener();
    }
    listener.startListener();
    try {
        co_await m_with.store.waitForListenerStart(kListenerStartWait, kListenerStartWaitSeconds);
    } catch (const core::StoreStartupError &error) {
        co_return error.message;
    }
    co_return std::nullopt;
}

} // namespace gateway::app
