#include "shell/log/log_event_words.h"

#include <QtCore/QCoreApplication>

#include <array>
#include <cstddef>

namespace gateway::shell {

namespace {

/// Gives these functions their translations' context.
struct LogEventWords
{
    Q_DECLARE_TR_FUNCTIONS(LogEventWords)
};

constexpr auto kActionCount =
    static_cast<std::size_t>(log::GatewayLogAction::versionPolicyOfflineWarningShown) + 1;

/// In the order of the cases.
constexpr std::array<const char *, kActionCount> kActions = {
    QT_TRANSLATE_NOOP("LogEventWords", "Listener asked to start"),
    QT_TRANSLATE_NOOP("LogEventWords", "Listener started"),
    QT_TRANSLATE_NOOP("LogEventWords", "Listener could not start"),
    QT_TRANSLATE_NOOP("LogEventWords", "Listener stopped"),
    QT_TRANSLATE_NOOP("LogEventWords", "Incoming folder not found"),
    QT_TRANSLATE_NOOP("LogEventWords", "Association opened"),
    QT_TRANSLATE_NOOP("LogEventWords", "Association closed"),
    QT_TRANSLATE_NOOP("LogEventWords", "Association broken off"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image received"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image being recorded"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image recorded"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image not recorded"),
    QT_TRANSLATE_NOOP("LogEventWords", "Incoming file removed"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload asked for"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload begun"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload finished"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload queued again"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image chosen for upload"),
    QT_TRANSLATE_NOOP("LogEventWords", "Stored file missing"),
    QT_TRANSLATE_NOOP("LogEventWords", "Sending an image"),
    QT_TRANSLATE_NOOP("LogEventWords", "Sending goes on"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image sent"),
    QT_TRANSLATE_NOOP("LogEventWords", "Image not sent"),
    QT_TRANSLATE_NOOP("LogEventWords", "Result recorded"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload state recovered"),
    QT_TRANSLATE_NOOP("LogEventWords", "Upload states reconciled"),
    QT_TRANSLATE_NOOP("LogEventWords", "Old images removed"),
    QT_TRANSLATE_NOOP("LogEventWords", "Old images not removed"),
    QT_TRANSLATE_NOOP("LogEventWords", "Looking for studies"),
    QT_TRANSLATE_NOOP("LogEventWords", "Studies found"),
    QT_TRANSLATE_NOOP("LogEventWords", "Studies not found out"),
    QT_TRANSLATE_NOOP("LogEventWords", "Deleting studies"),
    QT_TRANSLATE_NOOP("LogEventWords", "Studies deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Studies not deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Deleting a study"),
    QT_TRANSLATE_NOOP("LogEventWords", "Study deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Study not deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Looking for series"),
    QT_TRANSLATE_NOOP("LogEventWords", "Series found"),
    QT_TRANSLATE_NOOP("LogEventWords", "Series not found out"),
    QT_TRANSLATE_NOOP("LogEventWords", "Deleting several series"),
    QT_TRANSLATE_NOOP("LogEventWords", "Several series deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Several series not deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Deleting a series"),
    QT_TRANSLATE_NOOP("LogEventWords", "Series deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Series not deleted"),
    QT_TRANSLATE_NOOP("LogEventWords", "Updater started"),
    QT_TRANSLATE_NOOP("LogEventWords", "Update check asked for"),
    QT_TRANSLATE_NOOP("LogEventWords", "Asking whether this version may run"),
    QT_TRANSLATE_NOOP("LogEventWords", "Version checked"),
    QT_TRANSLATE_NOOP("LogEventWords", "Version not checked"),
    QT_TRANSLATE_NOOP("LogEventWords", "Required update found"),
    QT_TRANSLATE_NOOP("LogEventWords", "Update found"),
    QT_TRANSLATE_NOOP("LogEventWords", "No update needed"),
    QT_TRANSLATE_NOOP("LogEventWords", "Told that updates can't be looked for"),
};

} // namespace

QString wordsFor(log::GatewayLogAction action)
{
    return LogEventWords::tr(kActions.at(static_cast<std::size_t>(action)));
}

QString wordFor(log::GatewayLogOutcome outcome)
{
    switch (outcome) {
    case log::GatewayLogOutcome::started:
        return LogEventWords::tr("Started");
    case log::GatewayLogOutcome::succeeded:
        return LogEventWords::tr("Succeeded");
    case log::GatewayLogOutcome::failed:
        return LogEventWords::tr("Failed");
    case log::GatewayLogOutcome::completed:
        return LogEventWords::tr("Completed");
    case log::GatewayLogOutcome::skipped:
        return LogEventWords::tr("Skipped");
    case log::GatewayLogOutcome::queued:
        return LogEventWords::tr("Queued");
    case log::GatewayLogOutcome::inProgress:
        return LogEventWords::tr("In progress");
    }
    return {};
}

} // namespace gateway::shell
