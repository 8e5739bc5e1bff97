#include "core/settings.h"

namespace gateway::core {

const QString Settings::deviceIdKey = QStringLiteral("QuorinGateway.deviceId");

Settings::Settings(platform::UserDefaults &defaults)
    : wadoLimit(defaults, QStringLiteral("wadoLimit"), 2),
      advertiseWithBonjour(defaults, QStringLiteral("advertiseWithBonjour"), false),
      quorinCloudBatchEnabled(defaults, QStringLiteral("quorinCloudBatchEnabled"), true),
      quorinCloudBatchUploadCount(defaults, QStringLiteral("quorinCloudBatchUploadCount"), 2),
      quorinCloudCompressToLS(defaults, QStringLiteral("quorinCloudCompressToLS"), true),
      listenerDestinationFolder(defaults, QStringLiteral("ListenerDestinationFolder"), {}),
      listenerDestinationFolderBookmark(defaults, QStringLiteral("ListenerDestinationFolderBookmark"), {}),
      gatewayUpdatePolicyLastSuccessAt(defaults, QStringLiteral("GatewayUpdatePolicyLastSuccessAt"), {}),
      gatewayUpdatePolicyLastFailureAt(defaults, QStringLiteral("GatewayUpdatePolicyLastFailureAt"), {}),
      gatewayCriticalUpdatePromptLastShownAt(
          defaults, QStringLiteral("GatewayCriticalUpdatePromptLastShownAt"), {}),
      gatewayOfflineUpdateWarningLastShownAt(
          defaults, QStringLiteral("GatewayOfflineUpdateWarningLastShownAt"), {}),
      gatewaySetupCompleted(defaults, QStringLiteral("GatewaySetupCompleted"), false),
      gatewaySetupCompletedAt(defaults, QStringLiteral("GatewaySetupCompletedAt"), {}),
      gatewaySetupVersion(defaults, QStringLiteral("GatewaySetupVersion"), 0),
      gatewayAutoDeleteMode(defaults, QStringLiteral("GatewayAutoDeleteMode"), GatewayAutoDeleteMode::never),
      gatewayAutoDeleteValue(defaults, QStringLiteral("GatewayAutoDeleteValue"), {})
{
}

bool isSetupRequired(const Settings &settings)
{
    return !settings.gatewaySetupCompleted.get() || settings.gatewaySetupVersion.get() < 1;
}

} // namespace gateway::core
