#include "app/cloud_account.h"

#include "cloud_client/cloud_configuration.h"
#include "core/device_id.h"

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

cloud_client::CloudConfiguration cloudConfiguration(Ground &ground)
{
    return cloud_client::resolveCloudConfiguration(
        {ground.options.cloudUrl,
         ground.options.cloudKind,
         QProcessEnvironment::systemEnvironment(),
         storedText(ground.defaults, cloud_client::kCloudBaseUrlKey),
         storedText(ground.defaults, cloud_client::kCloudKindKey)},
        core::deviceId(ground.defaults));
}

} // namespace gateway::app
