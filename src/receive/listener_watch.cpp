#include "receive/listener_watch.h"

#include "core/dcm_listener_settings.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/network_address.h"

#include <QtCore/QCoreApplication>

#include <optional>
#include <utility>

namespace gateway::receive {

QString listenerFailureText(const QVariantMap &userInfo)
{
    const QVariant message = userInfo.value(core::kMessageKey);
    const QString text = message.typeId() == QMetaType::QString
                             ? message.toString()
                             : QCoreApplication::translate("Listener", "Failed to start DIMSE listener.");
    const QString reason = userInfo.value(kListenerFailureReasonKey).toString();
    return reason.isEmpty() ? text : text + u' ' + reason;
}

ListenerWatch::ListenerWatch(Collaborators with) : m_with(std::move(with))
{
    platform::assertMainThread("ListenerWatch");
    m_errorObserver =
        m_with.notifications.observe(core::kStoreListenerError, [this](const QVariantMap &userInfo) {
            m_with.state.setDimseAlertMessage(listenerFailureText(userInfo));
        });
    m_stateObserver =
        m_with.notifications.observe(core::kStoreListenerStateChanged, [this](const QVariantMap &) {
            if (m_with.listenerService.storeListener()) {
                m_with.state.setDimseAlertMessage(std::nullopt);
            }
        });
}

state::ListenerFigures ListenerWatch::figures() const
{
    const core::DCMListenerSettings settings = core::DCMListenerSettings::load(m_with.defaults);
    const auto &receiver = m_with.listenerService.storeListener();
    const std::optional<QString> &interruption = m_with.listenerService.interruption();
    const int port = (receiver ? receiver->boundPort() : std::nullopt).value_or(settings.port);
    return {.isEnabled = settings.isEnabled.value_or(true),
            .state = m_with.listenerService.state(),
            .aeTitle = settings.aeTitle,
            .port = port,
            .address = addressText(port),
            .failure = interruption.value_or(m_with.state.figures().dimseAlertMessage.value_or(QString()))};
}

QString ListenerWatch::addressText(int port) const
{
    return listenerAddressText(m_with.bindAddress, port);
}

} // namespace gateway::receive
