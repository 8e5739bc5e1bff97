#include "core/log_limit.h"

#include "platform/defaults/user_defaults.h"

namespace gateway::core {

qint64 logLimitBytes(const platform::UserDefaults &defaults)
{
    const qint64 mebibytes = defaults.object(kLogLimitKey).value_or(QVariant()).toLongLong();
    // What stands there out of bounds removes nothing.
    return mebibytes >= kLeastLogLimitMiB && mebibytes <= kMostLogLimitMiB ? mebibytes * 1024 * 1024 : 0;
}

} // namespace gateway::core
