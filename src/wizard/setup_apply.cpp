#include "wizard/setup_apply.h"

#include "core/ae_title_formatter.h"
#include "core/dcm_listener_settings.h"
#include "core/retention_policy.h"
#include "wizard/setup_checks.h"

#include <QtCore/QCoreApplication>

namespace gateway::wizard {

GatewaySetupDraft storedDraft(const core::Settings &settings, const platform::UserDefaults &defaults)
{
    const core::DCMListenerSettings record = core::DCMListenerSettings::load(defaults);
    const QString folder = settings.listenerDestinationFolder.get().value_or(QString());
    const std::optional<int> amount = settings.gatewayAutoDeleteValue.get();
    GatewaySetupDraft draft;
    draft.aeTitle = record.aeTitle;
    draft.portText = QString::number(record.port);
    draft.advertiseWithBonjour = record.advertiseWithBonjour.value_or(true);
    draft.destinationFolder = folder.trimmed().isEmpty() ? std::nullopt : std::optional(folder);
    draft.autoDeleteMode = settings.gatewayAutoDeleteMode.get();
    const bool hasAmount = amount && draft.autoDeleteMode != core::GatewayAutoDeleteMode::never;
    draft.autoDeleteValueText = hasAmount ? QString::number(*amount) : QString();
    return draft;
}

std::optional<QString> writeDraft(const GatewaySetupDraft &draft,
                                  const std::optional<QByteArray> &bookmark,
                                  core::Settings &settings,
                                  platform::UserDefaults &defaults)
{
    if (draft.destinationFolder && !bookmark) {
        return QCoreApplication::translate("SetupWizard",
                                           "Could not save folder permissions. Choose a different folder.");
    }
    core::DCMListenerSettings record = core::DCMListenerSettings::load(defaults);
    record.aeTitle = core::AETitleFormatter::format(draft.aeTitle.trimmed());
    record.port = parsedPort(draft.portText).value_or(record.port);
    record.isEnabled = true;
    record.advertiseWithBonjour = draft.advertiseWithBonjour;
    const core::RetentionPolicy retention{draft.autoDeleteMode,
                                          parsedRetentionValue(draft.autoDeleteValueText).value_or(0)};
    const bool kept =
        record.save(defaults) && settings.listenerDestinationFolder.set(draft.destinationFolder) &&
        settings.listenerDestinationFolderBookmark.set(draft.destinationFolder ? bookmark : std::nullopt) &&
        core::storeRetentionPolicy(settings, retention);
    return kept ? std::nullopt : std::optional(settingsNotWrittenMessage());
}

bool markSetupCompleted(core::Settings &settings, const QDateTime &now)
{
    // The gate opens with the last of them.
    return settings.gatewaySetupCompletedAt.set(now) && settings.gatewaySetupVersion.set(kSetupVersion) &&
           settings.gatewaySetupCompleted.set(true);
}

QString settingsNotWrittenMessage()
{
    return QCoreApplication::translate("SetupWizard", "The settings could not be written.");
}

} // namespace gateway::wizard
