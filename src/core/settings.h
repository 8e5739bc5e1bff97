#pragma once

#include "core/gateway_auto_delete_mode.h"
#include "platform/defaults/published.h"

namespace gateway::core {

/// Every value that the operator or the system keeps between runs, one observable field a key.
///
/// Reading a field gives the value last set, or its default; setting one writes it through durably and tells
/// its observers. Owner: app. Thread: any; screens set on the main thread and hop there when they observe.
/// The defaults outlive it.
class Settings final
{
public:
    explicit Settings(platform::UserDefaults &defaults);

    Settings(const Settings &) = delete;
    Settings &operator=(const Settings &) = delete;

    template <typename T>
    using Field = platform::Published<T>;
    template <typename T>
    using OptionalField = platform::Published<std::optional<T>>;

    /// The key of the device identifier; see device_id.h.
    static const QString deviceIdKey;

    Field<int> wadoLimit;                   ///< width of parallel upload work
    Field<bool> advertiseWithBonjour;       ///< a preference; the listener goes by its own record
    Field<bool> quorinCloudBatchEnabled;    ///< uploads may go in batches
    Field<int> quorinCloudBatchUploadCount; ///< files per batch
    Field<bool> quorinCloudCompressToLS;    ///< re-compress to JPEG-LS before upload

    OptionalField<QString> listenerDestinationFolder; ///< path of the folder for incoming files
    OptionalField<QByteArray> listenerDestinationFolderBookmark;

    OptionalField<QDateTime> gatewayUpdatePolicyLastSuccessAt; ///< last good version policy check
    OptionalField<QDateTime> gatewayUpdatePolicyLastFailureAt; ///< last failed one
    OptionalField<QDateTime> gatewayCriticalUpdatePromptLastShownAt;
    OptionalField<QDateTime> gatewayOfflineUpdateWarningLastShownAt;

    Field<bool> gatewaySetupCompleted; ///< the wizard has finished
    OptionalField<QDateTime> gatewaySetupCompletedAt;
    Field<int> gatewaySetupVersion; ///< below 1 counts as not set up

    Field<GatewayAutoDeleteMode> gatewayAutoDeleteMode; ///< as stored; see retention_policy.h
    OptionalField<int> gatewayAutoDeleteValue;          ///< in the unit of the mode
};

/// The setup gate's question: true until the wizard has finished with a version of 1 or more. While it
/// holds there is no listener and no upload.
bool isSetupRequired(const Settings &settings);

} // namespace gateway::core
