#include "wizard/setup_apply.h"

#include "core/ae_title_formatter.h"
#include "core/dcm_listener_settings.h"
#include "core/retention_policy.h"
#include "receive/folder_bookmark.h"

namespace gateway::wizard {

SetupDraft storedDraft(const core::Settings &settings, const platform::UserDefaults &defaults)
{
    const core::DCMListenerSettings record = core::DCMListenerSettings::load(defaults);
    const core::RetentionPolicy retention = core::effectiveRetentionPolicy(settings);
    const QString folder = settings.listenerDestinationFolder.get().value_or(QString());
    return {record.aeTitle,
            QString::number(record.port),
            record.advertiseWithBonjour.value_or(true),
            folder.trimmed().isEmpty() ? std::nullopt : std::optional(folder),
            retention.mode,
            retention.mode == core::GatewayAutoDeleteMode::never ? QString()
                                                                 : QString::number(retention.value)};
}

std::optional<QString>
writeDraft(const SetupDraft &draft, core::Settings &settings, platform::UserDefaults &defaults)
{
    std::optional<QByteArray> bookmark;
    if (draft.destinationFolder) {
        bookmark = receive::makeFolderBookmark(*draft.destinationFolder);
        if (!bookmark) {
            return QStringLiteral("Could not save folder permissions. Choose a different folder.");
        }
    }
    core::DCMListenerSettings record = core::DCMListenerSettings::load(defaults);
    record.aeTitle = core::AETitleFormatter::format(draft.aeTitle.trimmed());
    record.port = parsedPort(draft.portText).value_or(record.port);
    record.isEnabled = true;
    record.advertiseWithBonjour = draft.advertiseWithBonjour;
    const core::RetentionPolicy retention{draft.autoDeleteMode,
                                          parsedRetentionValue(draft.autoDeleteValueText).value_or(0)};
    const bool kept = record.save(defaults) &&
                      settings.listenerDestinationFolder.set(draft.destinationFolder) &&
                      settings.listenerDestinationFolderBookmark.set(bookmark) &&
                      core::storeRetentionPolicy(settings, retention);
    return kept ? std::nullopt : std::optional(QStringLiteral("The settings could not be written."));
}

bool markSetupCompleted(core::Settings &settings, const QDateTime &now)
{
    // The gate opens with the last of them.
    return settings.gatewaySetupCompletedAt.set(now) && settings.gatewaySetupVersion.set(kSetupVersion) &&
           settings.gatewaySetupCompleted.set(true);
}

} // namespace gateway::wizard
