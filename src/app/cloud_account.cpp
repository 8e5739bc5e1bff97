#include "app/cloud_account.h"

#include "cloud_client/cloud_configuration.h"

#include <QtCore/QProcessEnvironment>

#include <optional>

namespace gateway::app {

namespace {

std::optional<QString> storedText(const platform::UserDefaults &defaults, const char *key)
{
    const std::optional<QVariant> value = defaults.object(QString::fromLatin1(key));
    return value ? std::optional(value->toString()) : std::nullopt;
}

} // namespace

cloud_client::CloudConfiguration cloudConfiguration(const GatewayOptions &options,
                                                    const platform::UserDefaults &defaults,
                                                    const QString &deviceId)
{
    return cloud_client::resolveCloudConfiguration(
        {options.cloudUrl,
         options.cloudKind,
         QProcessEnvironment::systemEnvironment(),
         storedText(defaults, cloud_client::kCloudBaseUrlKey),
         storedText(defaults, cloud_client::kCloudKindKey),
         storedText(defaults, cloud_client::kCloudCertificateFileKey),
         storedText(defaults, cloud_client::kCloudProxyKey)},
        deviceId);
}

} // namespace gateway::app
