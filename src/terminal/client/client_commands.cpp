#include "terminal/client/client_commands.h"

#include "cloud_client/cloud_configuration.h"
#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "terminal/client/archive_secrets.h"
#include "terminal/client/console.h"
#include "terminal/client/import_client.h"
#include "terminal/client/log_commands.h"
#include "terminal/client/offline_commands.h"
#include "terminal/client/settings_file.h"
#include "terminal/commands/account_requests.h"
#include "terminal/commands/browser_report.h"
#include "terminal/commands/command_requests.h"
#include "terminal/commands/conformance_statement.h"
#include "terminal/commands/doctor_report.h"
#include "terminal/commands/retention_option.h"
#include "terminal/commands/status_report.h"
#include "terminal/commands/suggested_commands.h"
#include "terminal/control/control_client.h"
#include "terminal/instance/doctor_commands.h"

#include <QtCore/QJsonArray>
#include <QtCore/QProcessEnvironment>

#include <chrono>
#include <thread>
#include <variant>

namespace gateway::terminal {

namespace {

/// Long enough for a cloud that is slow to refuse a sign-in.
constexpr std::chrono::seconds kAnswerTimeout{150};

/// Long enough for large files on a slow line.
constexpr std::chrono::hours kReportTimeout{6};

/// Every stored file is looked at, and there may be millions.
constexpr std::chrono::hours kDoctorTimeout{24};

/// A large archive takes its time over a query, and a deletion goes study by study.
constexpr std::chrono::hours kBrowserTimeout{24};

/// An archive that stores later than it answers is asked for a while.
constexpr std::chrono::minutes kTrialTimeout{30};

constexpr std::chrono::seconds kWatchInterval{2};

/// What this home is set to, by the command line, the environment and the settings in this order; nothing,
/// with the reason said, when the settings can't be read.
std::optional<ConformanceConfiguration> conformanceOf(const core::HomeLayout &layout,
                                                      const GlobalOptions &options)
{
    try {
        platform::UserDefaults defaults(layout.defaultsFile);
        const core::Settings settings(defaults);
        const auto kept = [&defaults](const char *key) {
            return defaults.object(QString::fromLatin1(key)).value_or(QVariant()).toString();
        };
        const cloud_client::CloudConfiguration cloud =
            cloud_client::resolveCloudConfiguration({.urlFlag = options.cloudUrl,
                                                     .kindFlag = options.cloudKind,
                                                     .environment = QProcessEnvironment::systemEnvironment(),
                                                     .urlDefault = kept(cloud_client::kCloudBaseUrlKey),
                                                     .kindDefault = kept(cloud_client::kCloudKindKey)},
                                                    {});
        return ConformanceConfiguration{.listener = core::DCMListenerSettings::load(defaults),
                                        .cloudKind = cloud_client::cloudKindName(cloud.kind),
                                        .compressesToJpegLs = settings.quorinCloudCompressToLS.get(),
                                        .instancesPerUpload = settings.quorinCloudBatchEnabled.get()
                                                                  ? settings.quorinCloudBatchUploadCount.get()
                                                                  : 1};
    } catch (const platform::DefaultsError &error) {
        printError(error.message());
        return std::nullopt;
    }
}

/// One run of the program: each command is one member function.
class CommandRunner
{
public:
    CommandRunner(const core::HomeLayout &layout, const GlobalOptions &options)
        : m_layout(layout), m_options(options)
    {
    }

    // These two aren't for an instance that runs.
    ExitCode operator()(const RunHeadless &) const { return ExitCode::usage; }
    ExitCode operator()(const RunDesktop &) const { return ExitCode::usage; }

    ExitCode operator()(const SetupCommand &command) const
    {
        if (command.autoDelete && !parseRetentionOption(*command.autoDelete)) {
            printError(QStringLiteral("--auto-delete takes never, N-days or N-months."));
            return ExitCode::usage;
        }
        return finish(askOrWork(named(setupRequest(command))), [this](const QJsonObject &result) {
            const QString words =
                result.value(QStringLiteral("isListening")).toBool(true)
                    ? QStringLiteral("Setup is finished. The listener's address is %1.\n")
                    : QStringLiteral(
                          "Setup is finished. Once the gateway runs, its listener's address is %1; to "
                          "start it, run: quorin-gateway --headless\n");
            return told(words.arg(result.value(QStringLiteral("address")).toString()));
        });
    }

    ExitCode operator()(const SignInCommand &command) const
    {
        return finish(
            ask(named(signInRequest(
                command, command.isWithoutPair ? QString() : readSecret(QStringLiteral("Password"))))),
            signedInText);
    }

    ExitCode operator()(const SignOutCommand &) const
    {
        return finish(ask({requests::kSignOut, {}}),
                      [](const QJsonObject &) { return QStringLiteral("You are signed out.\n"); });
    }

    ExitCode operator()(const UploadCommand &) const
    {
        return finish(ask({requests::kUpload, {}}),
                      [](const QJsonObject &) { return QStringLiteral("An upload run was asked for.\n"); });
    }

    ExitCode operator()(const ImportCommand &command) const
    {
        return runImport(m_layout, m_options, command);
    }

    ExitCode operator()(const StatusCommand &command) const
    {
        bool isListenerWell = true;
        const auto words = [&](const QJsonObject &status) {
            isListenerWell = status[u"listener"][u"asItShouldBe"].toBool(true);
            return command.asJson ? jsonLine(status) : told(statusText(status));
        };
        ExitCode code = finish(ask({requests::kStatus, {}}), words);
        while (command.watch && code == ExitCode::done) {
            std::this_thread::sleep_for(kWatchInterval);
            if (!command.asJson) {
                printOut(QStringLiteral("\n"));
            }
            code = finish(ask({requests::kStatus, {}}), words);
        }
        return code == ExitCode::done && !isListenerWell ? ExitCode::failed : code;
    }

    ExitCode operator()(const SettingsCommand &command) const
    {
        if (command.action == SettingsCommand::Action::exportFile) {
            return exportSettings(command);
        }
        if (command.action == SettingsCommand::Action::importFile) {
            return importSettings(command);
        }
        return finish(askOrWork(settingsRequest(command)), [&](const QJsonObject &result) {
            if (command.asJson) {
                return jsonLine(result);
            }
            return command.action == SettingsCommand::Action::list
                       ? listText(result.value(QStringLiteral("settings")).toArray())
                       : valueText(result);
        });
    }

    ExitCode operator()(const DoctorCommand &command) const
    {
        bool isWell = false;
        const ExitCode code =
            finish(askOrWork(doctorRequest(command), kDoctorTimeout), [&](const QJsonObject &found) {
                isWell = found.value(QStringLiteral("well")).toBool();
                return command.asJson ? jsonLine(found) : told(doctorText(found));
            });
        return code == ExitCode::done && !isWell ? ExitCode::failed : code;
    }

    ExitCode operator()(const ConformanceCommand &command) const
    {
        const std::optional<ConformanceConfiguration> configuration = conformanceOf(m_layout, m_options);
        if (configuration) {
            printOut(command.asJson ? jsonLine(conformanceJson(*configuration))
                                    : conformanceText(*configuration));
        }
        return configuration ? ExitCode::done : ExitCode::failed;
    }

    ExitCode operator()(const BrowserCommand &command) const
    {
        QString problem;
        const auto words = [&](const QJsonObject &result) {
            problem = result.value(kDeletionProblem).toString();
            if (command.asJson) {
                return jsonLine(result);
            }
            if (command.action != BrowserCommand::Action::deletion) {
                return rowsText(result, tableKindOf(command));
            }
            return problem.isEmpty() ? deletionText(result, tableKindOf(command)) : QString();
        };
        const ExitCode code = finish(ask(browserRequest(command), kBrowserTimeout), words);
        if (problem.isEmpty()) {
            return code;
        }
        printError(problem);
        return ExitCode::failed;
    }

    ExitCode operator()(const LogsCommand &command) const { return showLogs(m_layout.logFolder, command); }

    ExitCode operator()(const TermsCommand &command) const
    {
        return finish(ask(termsRequest(command)), [&](const QJsonObject &result) {
            switch (command.action) {
            case TermsCommand::Action::show:
                return command.asJson ? jsonLine(result) : told(termsText(result));
            case TermsCommand::Action::accept:
                return QStringLiteral("Quorin Cloud Terms & Conditions, version %1, accepted.\n")
                    .arg(result.value(QStringLiteral("version")).toString());
            case TermsCommand::Action::decline:
                return QStringLiteral("Quorin Cloud Terms & Conditions were declined. You have been signed "
                                      "out.\n");
            }
            return QString();
        });
    }

    ExitCode operator()(const AccountCommand &command) const
    {
        switch (command.action) {
        case AccountCommand::Action::show:
            return finish(ask(accountRequest(command)), [&](const QJsonObject &profile) {
                return command.asJson ? jsonLine(profile) : profileText(profile);
            });
        case AccountCommand::Action::set:
            return finish(ask(accountRequest(command)), [](const QJsonObject &) {
                return QStringLiteral("Account updated successfully.\n");
            });
        case AccountCommand::Action::password:
            return changePassword();
        }
        return ExitCode::usage;
    }

    ExitCode operator()(const ArchiveCommand &command) const { return runArchive(command); }

    ExitCode operator()(const ReportCommand &command) const
    {
        if (!command.attachments.isEmpty() && !command.happenedDuringImport &&
            !command.happenedDuringOpening) {
            printError(QStringLiteral("Files are sent with --during-import or --during-opening only."));
            return ExitCode::usage;
        }
        return finish(ask(reportRequest(command), kReportTimeout), [](const QJsonObject &) {
            return QStringLiteral("Report has been sent successfully.\n");
        });
    }

private:
    ControlRequest named(const ControlRequest &request) const
    {
        return withCloud(request, {m_options.cloudUrl, m_options.cloudKind});
    }

    ExitCode runArchive(const ArchiveCommand &command) const
    {
        const std::optional<cloud_client::ArchiveSignIn> signIn = withSecrets(command);
        if (!signIn) {
            return ExitCode::usage;
        }
        bool isWell = true;
        const ExitCode code =
            finish(askArchive(named(archiveRequest(command, *signIn))), [&](const QJsonObject &result) {
                isWell = result.value(QStringLiteral("well")).toBool(true);
                if (command.asJson) {
                    return jsonLine(result);
                }
                switch (command.action) {
                case ArchiveCommand::Action::set:
                    return signedInText(result);
                case ArchiveCommand::Action::show:
                    return archiveText(result);
                case ArchiveCommand::Action::test:
                    return told(trialText(result));
                }
                return QString();
            });
        return code == ExitCode::done && !isWell ? ExitCode::failed : code;
    }

    /// Tells the code that a person has to enter, where the answer is one, and waits until it was.
    ControlReply askArchive(const ControlRequest &request) const
    {
        const ControlReply reply = ask(request, kTrialTimeout);
        const std::optional<std::chrono::seconds> lifetime = codeLifetime(reply.result);
        if (!lifetime) {
            return reply;
        }
        printOut(codeText(reply.result));
        return ask({requests::kArchiveWait, {}}, *lifetime + kAnswerTimeout);
    }

    static QString signedInText(const QJsonObject &result)
    {
        const QString label = result.value(QStringLiteral("label")).toString();
        const QString remark = result.value(QStringLiteral("remark")).toString();
        const QString words = label.isEmpty() ? QStringLiteral("You are now signed in.\n")
                                              : QStringLiteral("You are now signed in as %1.\n").arg(label);
        return remark.isEmpty() ? words : words + remark + u'\n';
    }

    ExitCode changePassword() const
    {
        account::GatewayPasswordForm form;
        form.currentPassword = readSecret(QStringLiteral("Current Password"));
        form.newPassword = readSecret(QStringLiteral("New Password"));
        form.confirmPassword = readSecret(QStringLiteral("Confirm New Password"));
        return finish(ask(passwordRequest(form)), [](const QJsonObject &) {
            return QStringLiteral("Your password has been changed successfully.\n");
        });
    }

    ControlReply ask(const ControlRequest &request, std::chrono::milliseconds timeout = kAnswerTimeout) const
    {
        return askInstance(m_layout.controlSocket(), request, timeout).value_or(noInstance());
    }

    ControlReply askOrWork(const ControlRequest &request,
                           std::chrono::milliseconds timeout = kAnswerTimeout) const
    {
        const std::optional<ControlReply> reply = askInstance(m_layout.controlSocket(), request, timeout);
        return reply ? *reply : workWithoutInstance(m_layout, m_options, request);
    }

    QString told(const QString &text) const { return withOptions(text, m_options); }

    template <typename Words>
    ExitCode finish(const ControlReply &reply, Words words) const
    {
        if (reply.code == ExitCode::done) {
            printOut(words(reply.result));
        } else {
            printError(told(reply.error));
        }
        return reply.code;
    }

    ExitCode exportSettings(const SettingsCommand &command) const
    {
        std::optional<QString> problem;
        const ExitCode code = finish(askOrWork(settingsRequest(command)), [&](const QJsonObject &result) {
            problem = writeSettingsFile(command.file, result.value(QStringLiteral("settings")).toArray());
            return QString();
        });
        if (!problem) {
            return code;
        }
        printError(*problem);
        return ExitCode::failed;
    }

    ExitCode importSettings(SettingsCommand command) const
    {
        SettingsFile file = readSettingsFile(command.file);
        if (!file.problem.isEmpty()) {
            printError(file.problem);
            return ExitCode::failed;
        }
        command.settings = std::move(file.settings);
        return finish(askOrWork(settingsRequest(command)), [&](const QJsonObject &result) {
            return command.asJson ? jsonLine(result) : importedSettingsText(result);
        });
    }

    static QString valueText(const QJsonObject &setting)
    {
        const QString remark = setting.value(QStringLiteral("remark")).toString();
        return setting.value(QStringLiteral("value")).toString() + u'\n' +
               (remark.isEmpty() ? QString() : remark + u'\n');
    }

    static QString listText(const QJsonArray &settings)
    {
        QString text;
        for (const auto &setting : settings) {
            text += QStringLiteral("%1 = %2\n").arg(setting[u"key"].toString(), setting[u"value"].toString());
        }
        return text;
    }

    const core::HomeLayout &m_layout;
    const GlobalOptions &m_options;
};

} // namespace

ExitCode runCommand(const core::HomeLayout &layout, const Invocation &invocation)
{
    return std::visit(CommandRunner(layout, invocation.options), invocation.command);
}

} // namespace gateway::terminal
