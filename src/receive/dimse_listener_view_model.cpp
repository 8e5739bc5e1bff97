#include "receive/dimse_listener_view_model.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/network_address.h"

#include <utility>

namespace gateway::receive {

DimseListenerViewModel::DimseListenerViewModel(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)),
      m_observer(m_collaborators.notifications.observe(core::kStoreListenerStateChanged,
                                                       [this](const QVariantMap &) { refresh(); }))
{
    platform::assertMainThread("DimseListenerViewModel");
    refresh();
}

void DimseListenerViewModel::refresh()
{
    m_settings = core::DCMListenerSettings::load(m_collaborators.defaults);
    m_isOn = m_collaborators.listenerService.storeListener() != nullptr;
    m_state = m_collaborators.listenerService.state();
    const QString chosen = m_collaborators.settings.listenerDestinationFolder.get().value_or(QString());
    m_storagePath = chosen.trimmed().isEmpty() ? m_collaborators.defaultIncomingFolder : chosen;
    Q_EMIT changed();
}

QString DimseListenerViewModel::addressText(bool withPort) const
{
    return listenerAddressText(m_collaborators.listenerService.bindAddress(),
                               withPort ? std::optional(m_settings.port) : std::nullopt);
}

void DimseListenerViewModel::setEnabled(bool enabled)
{
    const bool isSetUp = !core::isSetupRequired(m_collaborators.settings);
    if (enabled && !isSetUp) {
        m_collaborators.notifications.post(core::kOpenSetupWizard);
        refresh();
        return;
    }
    core::DCMListenerSettings settings = core::DCMListenerSettings::load(m_collaborators.defaults);
    settings.isEnabled = enabled;
    settings.save(m_collaborators.defaults);
    if (enabled) {
        m_collaborators.listenerService.startListener();
    } else {
        m_collaborators.listenerService.stopListener();
    }
    refresh();
}

} // namespace gateway::receive
