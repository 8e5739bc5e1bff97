#include "terminal/commands/command_line.h"

#include <QtCore/QByteArray>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

Invocation invocation(const QStringList &arguments)
{
    auto parsed = parseCommandLine(arguments);
    if (const auto *end = std::get_if<CommandLineEnd>(&parsed)) {
        ADD_FAILURE() << end->text.toStdString();
        return {};
    }
    return std::get<Invocation>(parsed);
}

CommandLineEnd ending(const QStringList &arguments)
{
    auto parsed = parseCommandLine(arguments);
    if (const auto *end = std::get_if<CommandLineEnd>(&parsed)) {
        return *end;
    }
    ADD_FAILURE() << "was taken as a command";
    return {};
}

class CommandLine : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qunsetenv("QUORIN_GATEWAY_HOME");
        qunsetenv("QUORIN_GATEWAY_BIND");
        qunsetenv("QUORIN_GATEWAY_METRICS");
    }

    void TearDown() override { SetUp(); }
};

TEST_F(CommandLine, LooksAtWhatTheCloudHolds)
{
    const auto studies = std::get<BrowserCommand>(invocation({u"cloud"_qs,
                                                              u"studies"_qs,
                                                              u"--patient-name"_qs,
                                                              u"Doe*"_qs,
                                                              u"--study-date"_qs,
                                                              u"yesterday"_qs,
                                                              u"--json"_qs})
                                                      .command);
    EXPECT_EQ(studies.place, BrowserCommand::Place::cloud);
    EXPECT_EQ(studies.action, BrowserCommand::Action::studies);
    EXPECT_EQ(
        studies.filters,
        (QMap<QString, QString>{{u"patient-name"_qs, u"Doe*"_qs}, {u"study-date"_qs, u"yesterday"_qs}}));
    EXPECT_TRUE(studies.asJson);
    const auto series = std::get<BrowserCommand>(invocation({u"cloud"_qs, u"series"_qs, u"1.2"_qs}).command);
    EXPECT_EQ(series.action, BrowserCommand::Action::series);
    EXPECT_EQ(series.study, u"1.2"_qs);
    EXPECT_EQ(ending({u"cloud"_qs, u"studies"_qs, u"--study-date"_qs, u"soon"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"cloud"_qs, u"studies"_qs, u"--birth-date"_qs, u"2026-02-30"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"cloud"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"cloud"_qs, u"studies"_qs, u"--failed"_qs}).exitCode, 2);
}

TEST_F(CommandLine, TakesAYesOnlyTogetherWithACount)
{
    const auto deletion = std::get<BrowserCommand>(
        invocation({u"local"_qs, u"delete"_qs, u"1.2"_qs, u"1.3"_qs, u"--yes"_qs, u"--expect"_qs, u"2"_qs})
            .command);
    EXPECT_EQ(deletion.place, BrowserCommand::Place::local);
    EXPECT_EQ(deletion.action, BrowserCommand::Action::deletion);
    EXPECT_EQ(deletion.targets, QStringList({u"1.2"_qs, u"1.3"_qs}));
    EXPECT_TRUE(deletion.isConfirmed);
    EXPECT_EQ(deletion.expected, 2);
    EXPECT_TRUE(deletion.study.isEmpty());
    EXPECT_EQ(ending({u"local"_qs, u"delete"_qs, u"1.2"_qs, u"--yes"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"local"_qs, u"delete"_qs, u"1.2"_qs, u"--expect"_qs, u"1"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"local"_qs, u"delete"_qs, u"--yes"_qs, u"--expect"_qs, u"1"_qs}).exitCode, 2);
    for (const QString &place : {u"cloud"_qs, u"local"_qs}) {
        for (const QString &blank : {u""_qs, u" "_qs}) {
            const QStringList rest{u"--yes"_qs, u"--expect"_qs, u"1"_qs};
            EXPECT_EQ(
                ending(QStringList{place, u"delete"_qs, u"--study"_qs, blank, u"1.2"_qs} + rest).exitCode, 2)
                << "never the whole study";
            EXPECT_EQ(ending(QStringList{place, u"delete"_qs, blank} + rest).exitCode, 2);
            EXPECT_EQ(ending({place, u"series"_qs, blank}).exitCode, 2);
        }
    }
    EXPECT_EQ(ending({u"cloud"_qs, u"delete"_qs, u"1.2/series/3"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"cloud"_qs, u"delete"_qs, QString(65, u'1')}).exitCode, 2);
    EXPECT_TRUE(std::holds_alternative<BrowserCommand>(
        invocation({u"local"_qs, u"delete"_qs, u"x-coredata://1/Study/p7"_qs}).command))
        << "the index has names for what has no UID";
    EXPECT_FALSE(
        std::get<BrowserCommand>(invocation({u"local"_qs, u"delete"_qs, u"1.2"_qs}).command).isConfirmed);
}

TEST_F(CommandLine, RunsHeadlessWhenAsked)
{
    const Invocation taken = invocation({u"--home"_qs, u"/srv/gateway"_qs, u"--headless"_qs});

    EXPECT_TRUE(std::holds_alternative<RunHeadless>(taken.command));
    EXPECT_EQ(taken.options.home, u"/srv/gateway"_qs);
}

TEST_F(CommandLine, RunsWithWindowsWithoutACommand)
{
    const Invocation taken = invocation({u"--home"_qs, u"/srv/gateway"_qs});

    EXPECT_TRUE(std::holds_alternative<RunDesktop>(taken.command));
    EXPECT_EQ(taken.options.home, u"/srv/gateway"_qs);
}

TEST_F(CommandLine, TakesGlobalOptionsBeforeAndBehindTheCommand)
{
    const Invocation before = invocation({u"--home"_qs, u"/a"_qs, u"status"_qs, u"--json"_qs});
    const Invocation behind = invocation({u"status"_qs, u"--json"_qs, u"--home"_qs, u"/a"_qs});

    EXPECT_EQ(before.options.home, u"/a"_qs);
    EXPECT_EQ(behind.options.home, u"/a"_qs);
    EXPECT_TRUE(std::get<StatusCommand>(behind.command).asJson);
}

TEST_F(CommandLine, TakesTheHomeFromTheEnvironmentUnlessTheFlagNamesOne)
{
    qputenv("QUORIN_GATEWAY_HOME", "/from/environment");

    EXPECT_EQ(invocation({u"upload"_qs}).options.home, u"/from/environment"_qs);
    EXPECT_EQ(invocation({u"upload"_qs, u"--home"_qs, u"/flag"_qs}).options.home, u"/flag"_qs);
}

TEST_F(CommandLine, TakesTheAddressOfTheMetrics)
{
    EXPECT_FALSE(invocation({u"--headless"_qs}).options.metricsAddress.has_value());

    const Invocation flag = invocation({u"--headless"_qs, u"--metrics"_qs, u"127.0.0.1:9464"_qs});
    EXPECT_EQ(flag.options.metricsAddress->host, u"127.0.0.1"_qs);
    EXPECT_EQ(flag.options.metricsAddress->port, 9464);

    qputenv("QUORIN_GATEWAY_METRICS", "[::1]:9465");
    EXPECT_EQ(invocation({u"--headless"_qs}).options.metricsAddress->port, 9465);
}

TEST_F(CommandLine, RefusesMetricsOnWhatIsNoAddress)
{
    for (const QString &text : {u"9464"_qs, u"localhost:9464"_qs, u"127.0.0.1:99999"_qs}) {
        const CommandLineEnd end = ending({u"--headless"_qs, u"--metrics"_qs, text});
        EXPECT_EQ(end.exitCode, 2);
        EXPECT_TRUE(end.text.contains(u"such as 127.0.0.1:9464"_qs)) << end.text.toStdString();
    }
}

TEST_F(CommandLine, TakesAnyNumberOfPathsToImportAlsoSuchAsAreNamedLikeACommand)
{
    const Invocation taken = invocation({u"import"_qs, u"status"_qs, u"a b.zip"_qs, u"--json"_qs, u"/c"_qs});

    const auto &command = std::get<ImportCommand>(taken.command);
    EXPECT_EQ(command.paths, (QStringList{u"status"_qs, u"a b.zip"_qs, u"/c"_qs}));
    EXPECT_TRUE(command.asJson);
    EXPECT_EQ(ending({u"import"_qs}).exitCode, 2);
}

TEST_F(CommandLine, ReadsEveryOptionOfSetup)
{
    const Invocation taken = invocation({u"setup"_qs,
                                         u"--ae-title"_qs,
                                         u"GATE"_qs,
                                         u"--port"_qs,
                                         u"11112"_qs,
                                         u"--incoming"_qs,
                                         u"/in box"_qs,
                                         u"--auto-delete"_qs,
                                         u"30-days"_qs,
                                         u"--no-bonjour"_qs});

    const auto &setup = std::get<SetupCommand>(taken.command);
    EXPECT_EQ(setup.aeTitle, u"GATE"_qs);
    EXPECT_EQ(setup.port, u"11112"_qs);
    EXPECT_EQ(setup.incomingFolder, u"/in box"_qs);
    EXPECT_EQ(setup.autoDelete, u"30-days"_qs);
    EXPECT_TRUE(setup.withoutBonjour);
}

TEST_F(CommandLine, ReadsSettingsCommands)
{
    const auto list = std::get<SettingsCommand>(invocation({u"settings"_qs, u"list"_qs}).command);
    const auto get = std::get<SettingsCommand>(invocation({u"settings"_qs, u"get"_qs, u"k"_qs}).command);
    const auto set =
        std::get<SettingsCommand>(invocation({u"settings"_qs, u"set"_qs, u"k"_qs, u"v"_qs}).command);

    EXPECT_EQ(list.action, SettingsCommand::Action::list);
    EXPECT_EQ(get.action, SettingsCommand::Action::get);
    EXPECT_EQ(get.key, u"k"_qs);
    EXPECT_EQ(set.action, SettingsCommand::Action::set);
    EXPECT_EQ(set.value, u"v"_qs);
    const auto exported =
        std::get<SettingsCommand>(invocation({u"settings"_qs, u"export"_qs, u"f"_qs}).command);
    const auto imported =
        std::get<SettingsCommand>(invocation({u"settings"_qs, u"import"_qs, u"f"_qs, u"--json"_qs}).command);
    EXPECT_EQ(exported.action, SettingsCommand::Action::exportFile);
    EXPECT_EQ(exported.file, u"f"_qs);
    EXPECT_EQ(imported.action, SettingsCommand::Action::importFile);
    EXPECT_TRUE(imported.asJson);
}

TEST_F(CommandLine, RefusesWhatItDoesNotKnow)
{
    const QList<QStringList> mistakes{
        {u"nonsense"_qs},
        {u"--nonsense"_qs},
        {u"setup"_qs},
        {u"sign-in"_qs},
        {u"settings"_qs},
        {u"settings"_qs, u"get"_qs},
        {u"settings"_qs, u"export"_qs},
        {u"settings"_qs, u"import"_qs},
        {u"status"_qs, u"--xml"_qs},
        {u"--cloud-kind"_qs, u"ftp"_qs, u"status"_qs},
        {u"--bind"_qs, u"not-an-address"_qs, u"--headless"_qs},
    };

    for (const QStringList &mistake : mistakes) {
        EXPECT_EQ(ending(mistake).exitCode, 2) << mistake.join(u' ').toStdString();
    }
}

TEST_F(CommandLine, PrintsVersionAndHelp)
{
    EXPECT_EQ(ending({u"--version"_qs}).text, u"quorin-gateway " QUORIN_VERSION "\n"_qs);
    EXPECT_EQ(ending({u"--version"_qs}).exitCode, 0);
    EXPECT_EQ(ending({u"-V"_qs}).text, ending({u"--version"_qs}).text);
    EXPECT_EQ(ending({u"version"_qs}).text, ending({u"--version"_qs}).text);
    EXPECT_EQ(ending({u"--help"_qs}).exitCode, 0);
    EXPECT_TRUE(ending({u"--help"_qs}).text.contains(u"sign-in"_qs));
    EXPECT_EQ(ending({u"help"_qs}).text, ending({u"--help"_qs}).text);
}

TEST_F(CommandLine, PrintsTheHelpOfOneCommand)
{
    const CommandLineEnd end = ending({u"help"_qs, u"setup"_qs});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_TRUE(end.text.contains(u"--ae-title"_qs));
    EXPECT_EQ(ending({u"setup"_qs, u"--help"_qs}).text, end.text);
    EXPECT_EQ(ending({u"help"_qs, u"nonsense"_qs}).exitCode, 2);
}

TEST_F(CommandLine, PrintsTheHelpOfACommandBelowAnother)
{
    const CommandLineEnd end = ending({u"help"_qs, u"cloud"_qs, u"studies"_qs});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_TRUE(end.text.contains(u"Usage: quorin-gateway cloud studies"_qs));
    EXPECT_TRUE(end.text.contains(u"--patient-name"_qs));
    EXPECT_EQ(ending({u"cloud"_qs, u"studies"_qs, u"--help"_qs}).text, end.text);
    EXPECT_EQ(ending({u"help"_qs, u"cloud"_qs, u"nonsense"_qs}).exitCode, 2);
}

TEST_F(CommandLine, TakesTheFiltersOfTheLogAsTheyAreTyped)
{
    const Invocation plain = invocation({u"logs"_qs});
    const Invocation full = invocation({u"logs"_qs,
                                        u"--follow"_qs,
                                        u"--level"_qs,
                                        u"error"_qs,
                                        u"--category"_qs,
                                        u"send"_qs,
                                        u"--search"_qs,
                                        u"a b"_qs,
                                        u"--json"_qs});

    EXPECT_EQ(std::get<LogsCommand>(plain.command).level, u"all"_qs);
    EXPECT_EQ(std::get<LogsCommand>(plain.command).category, u"all"_qs);
    EXPECT_FALSE(std::get<LogsCommand>(plain.command).follow);
    const auto &taken = std::get<LogsCommand>(full.command);
    EXPECT_EQ(taken.level, u"error"_qs);
    EXPECT_EQ(taken.category, u"send"_qs);
    EXPECT_EQ(taken.searchText, u"a b"_qs);
    EXPECT_TRUE(taken.asJson);
    EXPECT_TRUE(taken.follow);
}

TEST_F(CommandLine, TakesTheHashOfAnImageAloneOrWithJson)
{
    const auto imageOf = [](const QStringList &options) {
        return std::get<LogsCommand>(invocation(QStringList{u"logs"_qs} + options).command).imageHash;
    };

    EXPECT_EQ(imageOf({}), std::nullopt);
    EXPECT_EQ(imageOf({u"--image"_qs, u"0123456789abcdef"_qs, u"--json"_qs}), u"0123456789abcdef"_qs);
    EXPECT_EQ(imageOf({u"--image"_qs, QString()}), QString()) << "an empty one is not the whole log";
    for (const QStringList &other : {QStringList{u"--follow"_qs},
                                     QStringList{u"--level"_qs, u"error"_qs},
                                     QStringList{u"--category"_qs, u"send"_qs},
                                     QStringList{u"--search"_qs, u"text"_qs}}) {
        EXPECT_EQ(ending(QStringList{u"logs"_qs, u"--image"_qs, u"0123456789abcdef"_qs} + other).exitCode, 2)
            << other.first().toStdString();
    }
}

TEST_F(CommandLine, ReadsTheCommandsAboutTerms)
{
    const auto actionOf = [](const QString &word) {
        return std::get<TermsCommand>(invocation({u"terms"_qs, word}).command).action;
    };

    EXPECT_EQ(actionOf(u"show"_qs), TermsCommand::Action::show);
    EXPECT_EQ(actionOf(u"accept"_qs), TermsCommand::Action::accept);
    EXPECT_EQ(actionOf(u"decline"_qs), TermsCommand::Action::decline);
    EXPECT_TRUE(std::get<TermsCommand>(invocation({u"terms"_qs, u"show"_qs, u"--json"_qs}).command).asJson);
    EXPECT_EQ(ending({u"terms"_qs}).exitCode, 2);
}

TEST_F(CommandLine, ReadsTheCommandsAboutTheAccount)
{
    const auto set =
        std::get<AccountCommand>(invocation({u"account"_qs, u"set"_qs, u"firstName"_qs, u"Ann"_qs}).command);
    const auto clear =
        std::get<AccountCommand>(invocation({u"account"_qs, u"set"_qs, u"middleName"_qs, QString()}).command);
    const auto show = std::get<AccountCommand>(invocation({u"account"_qs, u"show"_qs}).command);
    const auto password = std::get<AccountCommand>(invocation({u"account"_qs, u"password"_qs}).command);

    EXPECT_EQ(set.action, AccountCommand::Action::set);
    EXPECT_EQ(set.key, u"firstName"_qs);
    EXPECT_EQ(set.value, u"Ann"_qs);
    EXPECT_TRUE(clear.value.isEmpty());
    EXPECT_EQ(show.action, AccountCommand::Action::show);
    EXPECT_EQ(password.action, AccountCommand::Action::password);
}

TEST_F(CommandLine, TakesNoPasswordAsAnArgument)
{
    EXPECT_EQ(ending({u"account"_qs, u"password"_qs, u"secret"_qs}).exitCode, 2);
    EXPECT_EQ(ending({u"account"_qs, u"password"_qs, u"--new"_qs, u"secret"_qs}).exitCode, 2);
}

TEST_F(CommandLine, ReadsAReportWithItsFiles)
{
    const auto report = std::get<ReportCommand>(invocation({u"report"_qs,
                                                            u"--description"_qs,
                                                            u"It broke."_qs,
                                                            u"--during-import"_qs,
                                                            u"--attach"_qs,
                                                            u"a.dcm"_qs,
                                                            u"--attach"_qs,
                                                            u"b.dcm"_qs})
                                                    .command);

    EXPECT_EQ(report.description, u"It broke."_qs);
    EXPECT_TRUE(report.happenedDuringImport);
    EXPECT_FALSE(report.happenedDuringOpening);
    EXPECT_FALSE(report.isReproducible);
    EXPECT_EQ(report.attachments, (QStringList{u"a.dcm"_qs, u"b.dcm"_qs}));
    EXPECT_EQ(ending({u"report"_qs}).exitCode, 2);
}

TEST_F(CommandLine, TakesWhatTheDoctorMayDo)
{
    const Invocation plain = invocation({u"doctor"_qs});
    const Invocation full = invocation({u"doctor"_qs, u"--repair"_qs, u"--json"_qs});

    EXPECT_FALSE(std::get<DoctorCommand>(plain.command).repair);
    EXPECT_FALSE(std::get<DoctorCommand>(plain.command).asJson);
    EXPECT_TRUE(std::get<DoctorCommand>(full.command).repair);
    EXPECT_TRUE(std::get<DoctorCommand>(full.command).asJson);
}

} // namespace
} // namespace gateway::terminal
