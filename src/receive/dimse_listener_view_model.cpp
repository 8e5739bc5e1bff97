#include "receive/dimse_listener_view_model.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/network_address.h"

#include <utility>

namespace gateway::receive {

DimseListenerViewModel::DimseListenerViewModel(Collaborators collaborators)
    : m_with(std::move(collaborators)),
      m_observer(m_with.notifications.observe(core::kStoreListenerStateChanged,
                                              [this](const QVariantMap &) { refresh(); }))
{
    platform::assertMainThread("DimseListenerViewModel");
    refresh();
}

void DimseListenerViewModel::refresh()
{
    m_settings = core::DCMListenerSettings::load(m_with.defaults);
    m_isOn = m_with.listenerService.storeListener() != nullptr;
    m_state = m_with.listenerService.state();
    const QString chosen = m_with.settings.listenerDestinationFolder.get().value_or(QString());
    m_storagePath = chosen.trimmed().isEmpty() ? m_with.defaultIncomingFolder : chosen;
    Q_EMIT changed();
}

QString DimseListenerViewModel::addressText(bool withPort) const
{
    return listenerAddressText(m_with.listenerService.bindAddress(),
                               withPort ? std::optional(m_settings.port) : std::nullopt);
}

void DimseListenerViewModel::setEnabled(bool enabled)
{
    const bool isSetUp = !core::isSetupRequired(m_with.settings);
    if (enabled && !isSetUp) {
        m_with.notifications.post(core::kOpenSetupWizard);
        refresh();
        return;
    }
    core::DCMListenerSettings settings = core::DCMListenerSettings::load(m_with.defaults);
    settings.isEnabled = enabled;
    settings.save(m_with.defaults);
    if (enabled) {
        m_with.listenerService.startListener();
    } else {
        m_with.listenerService.stopListener();
    }
    refresh();
}

} // namespace gateway::receive
