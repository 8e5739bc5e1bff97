#include "terminal/instance/instance_settings.h"

#include "cloud_client/cloud_configuration.h"
#include "core/dcm_listener_settings.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "platform/concurrency/patient_question.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/settings_commands.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <algorithm>
#include <chrono>
#include <utility>

namespace gateway::terminal {

namespace {

/// How long a path may take to say what is there.
constexpr std::chrono::seconds kPatience{10};

/// The paths that a request wants kept; each may be empty.
struct Paths
{
    QString folder;
    QString certificateFile;
};

Paths pathsIn(const ControlRequest &request)
{
    QJsonObject settings = request.arguments.value(QStringLiteral("settings")).toObject();
    if (request.command == requests::kSettingsSet) {
        settings.insert(request.arguments.value(QStringLiteral("key")).toString(),
                        request.arguments.value(QStringLiteral("value")));
    }
    const QString file =
        settings.value(QString::fromLatin1(cloud_client::kCloudCertificateFileKey)).toString();
    return {settings.value(QStringLiteral("ListenerDestinationFolder")).toString().trimmed().isEmpty()
                ? QString()
                : settings.value(QStringLiteral("ListenerDestinationFolder")).toString(),
            file.trimmed()};
}

/// What was found at the paths of a request.
struct Found
{
    wizard::FolderValidationResult folder;
    std::optional<QString> certificateFileIssue;
};

/// Blocks on the disk.
Found lookAt(const Paths &paths)
{
    const SettingsDisk disk = SettingsDisk::here();
    Found found;
    if (!paths.folder.isEmpty()) {
        found.folder = disk.folder(paths.folder);
    }
    if (!paths.certificateFile.isEmpty()) {
        found.certificateFileIssue = disk.certificateFileIssue(paths.certificateFile);
    }
    return found;
}

ControlReply silent(const Paths &paths)
{
    QStringList named{paths.folder, paths.certificateFile};
    named.removeAll(QString());
    return ControlReply::failure(
        QStringLiteral("%1 doesn't answer. The disk or network share that holds it may be away. "
                       "Nothing was changed.")
            .arg(named.join(QStringLiteral(" or "))));
}

} // namespace

InstanceSettings::InstanceSettings(Collaborators collaborators)
    : m_collaborators(collaborators), m_scope(m_collaborators.main, m_collaborators.pool)
{
    platform::assertMainThread("InstanceSettings");
}

bool InstanceSettings::handle(const ControlRequest &request, const Answer &answer)
{
    const QString &command = request.command;
    if (command != requests::kSettingsList && command != requests::kSettingsGet &&
        command != requests::kSettingsSet && command != requests::kSettingsImport) {
        return false;
    }
    m_scope.start(answerOnce(request, answer));
    return true;
}

QCoro::Task<void> InstanceSettings::answerOnce(ControlRequest request, Answer answer)
{
    const auto operation = m_scope.enter();
    const Paths paths = pathsIn(request);
    if (paths.folder.isEmpty() && paths.certificateFile.isEmpty()) {
        answer(carryOut(request, {}));
        co_return;
    }
    const platform::Patience patience{m_collaborators.main, m_collaborators.clock, kPatience};
    auto look = [paths] { return lookAt(paths); };
    const std::optional<Found> found =
        co_await platform::askPatiently(patience, "settings-paths", std::move(look), m_scope.stopToken());
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (!found) {
        answer(silent(paths));
        co_return;
    }
    answer(carryOut(request,
                    {[found](const QString &) { return found->folder; },
                     [found](const QString &) { return found->certificateFileIssue; }}));
}

/// \param disk  is asked only for the paths in the request.
ControlReply InstanceSettings::carryOut(const ControlRequest &request, SettingsDisk disk)
{
    SettingsCatalogue catalogue(m_collaborators.settings, m_collaborators.defaults, std::move(disk));
    SettingsAnswer answer = answerSettings(catalogue, request);
    if (answer.needsListenerRestart) {
        restartListener();
    }
    QStringList changed{request.arguments.value(QStringLiteral("key")).toString()};
    for (const auto &key : answer.reply.result.value(QStringLiteral("changed")).toArray()) {
        changed.append(key.toString());
    }
    const bool isChange = request.command != requests::kSettingsGet &&
                          request.command != requests::kSettingsList && answer.reply.code == ExitCode::done;
    if (isChange) {
        m_collaborators.notifications.post(core::kSettingsChanged);
    }
    if (isChange && std::ranges::any_of(changed, [](const QString &key) {
            return key.startsWith(QStringLiteral("QuorinAPI."));
        })) {
        answer.reply.result.insert(QStringLiteral("remark"),
                                   QStringLiteral("It counts from the gateway's next start."));
    }
    return std::move(answer.reply);
}

/// Makes the listener go by its new settings: off when it is disabled, else stopped and, with setup finished,
/// started.
void InstanceSettings::restartListener()
{
    receive::StoreListenerService &listener = m_collaborators.listenerService;
    const bool isEnabled = core::DCMListenerSettings::load(m_collaborators.defaults).isEnabled.value_or(true);
    if (!isEnabled || listener.storeListener()) {
        listener.stopListener();
    }
    if (isEnabled && !core::isSetupRequired(m_collaborators.settings)) {
        listener.startListener();
    }
}

} // namespace gateway::terminal
