#include "receive/listener_config.h"

namespace gateway::receive {

platform::StoreSCPConfig listenerConfig(const core::DCMListenerSettings &settings, const QString &bindAddress)
{
    platform::StoreSCPConfig config;
    config.aeTitle = settings.aeTitle;
    config.port = settings.port;
    // The listener is plain, whatever the stored profile says.
    config.secureConnection = false;
    config.doAuthenticate = false;
    config.securityProfile = 1;
    config.verifyPeerCert = false;
    config.timeout = settings.timeout;
    config.bindAddress = bindAddress;
    config.associationsPerAddress =
        settings.associationsPerAddress.value_or(core::kDefaultAssociationsPerAddress);
    return config;
}

} // namespace gateway::receive
