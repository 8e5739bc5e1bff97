#pragma once

#include "core/gateway_auto_delete_mode.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::core {

class Settings;

/// How long an uploaded image stays on this machine.
struct RetentionPolicy
{
    GatewayAutoDeleteMode mode = GatewayAutoDeleteMode::never;
    int value = 0; ///< in the unit of the mode; 0 with `never`

    bool operator==(const RetentionPolicy &) const = default;
};

/// True for an amount that the mode allows: 1 to 3650 days, 1 to 120 months; with `never` always.
bool isValidAutoDeleteValue(GatewayAutoDeleteMode mode, std::optional<int> value);

/// What to tell an operator who gave a bad amount; empty with `never`.
QString autoDeleteValueMessage(GatewayAutoDeleteMode mode);

/// The stored policy after validation. A bad stored amount turns deletion off; it is never clamped. Beside a
/// `storeRetentionPolicy` it is the policy of before, of after, or `never`. Thread: any.
RetentionPolicy effectiveRetentionPolicy(const Settings &settings);

/// Stores a policy so that its amount never stands with the unit of another: 6 months must not be 6 days for
/// a moment. A write that fails leaves the policy of before, or `never`.
///
/// \param policy  a valid one. \return false when a write failed. Thread: one at a time.
bool storeRetentionPolicy(Settings &settings, const RetentionPolicy &policy);

} // namespace gateway::core
