#include "app/cloud_account.h"

#include "core/device_id.h"
#include "platform/quorin_api/cloud_configuration.h"

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

platform::CloudConfiguration cloudConfiguration(Ground &ground)
{
    return platform::resolveCloudConfiguration({ground.options.cloudUrl,
                                                ground.options.cloudKind,
                                                QProcessEnvironment::systemEnvironment(),
                                                storedText(ground.defaults, platform::kCloudBaseUrlKey),
                                                storedText(ground.defaults, platform::kCloudKindKey)},
                                               core::deviceId(ground.defaults));
}

} // namespace gateway::app
