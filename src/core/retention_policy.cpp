#include "core/retention_policy.h"

#include "core/settings.h"

#include <QtCore/QCoreApplication>

namespace gateway::core {

bool isValidAutoDeleteValue(GatewayAutoDeleteMode mode, std::optional<int> value)
{
    switch (mode) {
    case GatewayAutoDeleteMode::never:
        return true;
    case GatewayAutoDeleteMode::days:
        return value && *value >= 1 && *value <= 3650;
    case GatewayAutoDeleteMode::months:
        return value && *value >= 1 && *value <= 120;
    }
    return false;
}

QString autoDeleteValueMessage(GatewayAutoDeleteMode mode)
{
    switch (mode) {
    case GatewayAutoDeleteMode::never:
        return {};
    case GatewayAutoDeleteMode::days:
        return QCoreApplication::translate("SetupWizard",
                                           "Auto-delete in days must be a number between 1 and 3650.");
    case GatewayAutoDeleteMode::months:
        return QCoreApplication::translate("SetupWizard",
                                           "Auto-delete in months must be a number between 1 and 120.");
    }
    return {};
}

RetentionPolicy effectiveRetentionPolicy(const Settings &settings)
{
    GatewayAutoDeleteMode mode{};
    std::optional<int> value;
    do { // a policy that changes meanwhile goes by way of `never`
        mode = settings.gatewayAutoDeleteMode.get();
        value = settings.gatewayAutoDeleteValue.get();
    } while (mode != settings.gatewayAutoDeleteMode.get());
    if (mode == GatewayAutoDeleteMode::never || !isValidAutoDeleteValue(mode, value)) {
        return {};
    }
    return {mode, *value};
}

bool storeRetentionPolicy(Settings &settings, const RetentionPolicy &policy)
{
    using enum GatewayAutoDeleteMode;
    const auto value = policy.mode == never ? std::nullopt : std::optional(policy.value);
    const bool sameUnit = settings.gatewayAutoDeleteMode.get() == policy.mode;
    return (sameUnit || settings.gatewayAutoDeleteMode.set(never)) &&
           settings.gatewayAutoDeleteValue.set(value) && settings.gatewayAutoDeleteMode.set(policy.mode);
}

} // namespace gateway::core
