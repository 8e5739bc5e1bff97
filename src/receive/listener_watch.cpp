#include "receive/listener_watch.h"

#include "core/dcm_listener_settings.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/network_address.h"

#include <optional>
#include <utility>

namespace gateway::receive {

using platform::Sentence;

Sentence listenerFailureText(const QVariantMap &userInfo)
{
    const Sentence message = Sentence::in(userInfo.value(core::kMessageKey));
    const Sentence text =
        message.isEmpty()
            ? Sentence("Listener", QT_TRANSLATE_NOOP("Listener", "Failed to start DIMSE listener."))
            : message;
    return text.followedBy(Sentence::in(userInfo.value(kListenerFailureReasonKey)));
}

ListenerWatch::ListenerWatch(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("ListenerWatch");
    m_errorObserver =
        m_collaborators.notifications.observe(core::kStoreListenerError, [this](const QVariantMap &userInfo) {
            m_collaborators.state.setDimseAlertMessage(listenerFailureText(userInfo));
        });
    m_stateObserver =
        m_collaborators.notifications.observe(core::kStoreListenerStateChanged, [this](const QVariantMap &) {
            if (m_collaborators.listenerService.storeListener()) {
                m_collaborators.state.setDimseAlertMessage(std::nullopt);
            }
        });
}

state::ListenerFigures ListenerWatch::figures() const
{
    const core::DCMListenerSettings settings = core::DCMListenerSettings::load(m_collaborators.defaults);
    const auto &receiver = m_collaborators.listenerService.storeListener();
    const std::optional<Sentence> &interruption = m_collaborators.listenerService.interruption();
    const int port = (receiver ? receiver->boundPort() : std::nullopt).value_or(settings.port);
    return {.isEnabled = settings.isEnabled.value_or(true),
            .state = m_collaborators.listenerService.state(),
            .aeTitle = settings.aeTitle,
            .port = port,
            .address = addressText(port),
            .failure = interruption.value_or(
                m_collaborators.state.figures().dimseAlertMessage.value_or(Sentence()))};
}

QString ListenerWatch::addressText(int port) const
{
    return listenerAddressText(m_collaborators.bindAddress, port);
}

} // namespace gateway::receive
