#include "terminal/instance/account_commands.h"

#include "cloud_client/qrn_bug_report_api.h"
#include "terminal/commands/account_requests.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/testing/account_app.h"

#include <QtCore/QJsonArray>

namespace gateway::terminal::testing {

namespace {

/// Notes the report that it gets, or refuses it. Thread: any, one call at a time.
class FakeBugReports final : public cloud_client::QrnBugReportAPIProtocol
{
public:
    void send(const cloud_client::QrnBugReportRequest &request,
              const cloud_client::UploadProgressCallback &) override
    {
        if (failure) {
            throw cloud_client::AFError(*failure, std::nullopt);
        }
        last = request;
    }

    std::optional<QString> failure;
    std::optional<cloud_client::QrnBugReportRequest> last;
};

struct AccountCommandsTest : AccountApp
{
    AccountCommandsTest() { service.user.firstName = QStringLiteral("Ann"); }

    ControlReply ask(const ControlRequest &request) { return AccountApp::ask(commands, request); }
    ControlReply show() { return ask(accountRequest({AccountCommand::Action::show, false, {}, {}})); }

    ControlReply set(const QString &key, const QString &value)
    {
        return ask(accountRequest({AccountCommand::Action::set, false, key, value}));
    }

    FakeBugReports reports;
    AccountCommands commands{{service, reports, defaults, notifications, main, pool, auth}};
};

} // namespace

TEST_F(AccountCommandsTest, LeavesOtherRequestsToOthers)
{
    EXPECT_FALSE(commands.handle({requests::kStatus, {}}, [](const ControlReply &) { FAIL(); }));
}

TEST_F(AccountCommandsTest, NeedsASessionForTheProfileAndThePassword)
{
    EXPECT_EQ(show().error, noSessionReply().error);
    EXPECT_EQ(set(QStringLiteral("title"), QStringLiteral("Dr.")).error, noSessionReply().error);
    EXPECT_EQ(ask(passwordRequest({})).error, noSessionReply().error);
    EXPECT_TRUE(service.calls().isEmpty());
}

TEST_F(AccountCommandsTest, ShowsTheProfile)
{
    signIn();
    service.user.workplaces = {{1, QStringLiteral("East Clinic"), true}};

    const QJsonObject profile = show().result;

    EXPECT_EQ(profile.value(QStringLiteral("firstName")).toString(), QStringLiteral("Ann"));
    EXPECT_EQ(profile.value(QStringLiteral("email")).toString(), QStringLiteral("ann@site.example"));
    EXPECT_EQ(profile.value(QStringLiteral("workplace")).toString(), QStringLiteral("East Clinic"));
    EXPECT_EQ(profile.value(QStringLiteral("workplaces")).toArray().size(), 1);
}

TEST_F(AccountCommandsTest, ChangesOneFieldOfWhatStandsAtTheServiceNow)
{
    signIn();
    show();
    service.user.lastName = QStringLiteral("Changed Elsewhere");

    const ControlReply reply = set(QStringLiteral("firstName"), QStringLiteral(" Anna "));

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_EQ(service.user.firstName, QStringLiteral("Anna"));
    EXPECT_EQ(service.user.lastName, QStringLiteral("Changed Elsewhere"));
}

TEST_F(AccountCommandsTest, ClearsAFieldByAnEmptyValue)
{
    signIn();

    EXPECT_EQ(set(QStringLiteral("firstName"), QString()).code, ExitCode::done);

    EXPECT_FALSE(service.user.firstName);
}

TEST_F(AccountCommandsTest, NamesTheFieldsWhenAskedForAnUnknownOne)
{
    signIn();

    const ControlReply reply = set(QStringLiteral("email"), QStringLiteral("x"));

    EXPECT_EQ(reply.code, ExitCode::usage);
    EXPECT_TRUE(reply.error.contains(QStringLiteral("email")));
    EXPECT_TRUE(reply.error.contains(QStringLiteral("phoneNumber")));
    EXPECT_FALSE(service.lastUpdate);
}

TEST_F(AccountCommandsTest, SaysWhyTheProfileCannotBeHad)
{
    signIn();
    service.isOffline = true;

    EXPECT_EQ(show().error, QStringLiteral("The cloud can't be reached."));
    EXPECT_EQ(set(QStringLiteral("title"), QStringLiteral("Dr.")).error,
              QStringLiteral("The cloud can't be reached."));
}

TEST_F(AccountCommandsTest, DoesNotTakeAnEarlierSuccessForThisOne)
{
    signIn();
    set(QStringLiteral("title"), QStringLiteral("Dr."));
    service.isOffline = true;

    EXPECT_EQ(set(QStringLiteral("title"), QStringLiteral("Prof.")).code, ExitCode::failed);
}

TEST_F(AccountCommandsTest, ChangesThePasswordOrSaysWhyNot)
{
    signIn();
    const QString next = QStringLiteral("better");

    EXPECT_EQ(ask(passwordRequest({QStringLiteral("wrong"), next, next})).error,
              QStringLiteral("Current password is incorrect."));
    EXPECT_EQ(ask(passwordRequest({QStringLiteral("right"), next, {}})).error,
              QStringLiteral("Please confirm your new password."));
    EXPECT_EQ(ask(passwordRequest({QStringLiteral("right"), next, next})).code, ExitCode::done);

    EXPECT_EQ(service.password, next);
}

TEST_F(AccountCommandsTest, SendsAReportWithItsFiles)
{
    const ControlReply reply =
        ask(reportRequest({QStringLiteral("It broke."), true, true, false, {QStringLiteral("/data/a.dcm")}}));

    EXPECT_EQ(reply.code, ExitCode::done);
    ASSERT_TRUE(reports.last);
    EXPECT_EQ(reports.last->description, QStringLiteral("It broke."));
    EXPECT_TRUE(reports.last->isReproducible);
    EXPECT_EQ(reports.last->attachments, QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/data/a.dcm"))});
}

TEST_F(AccountCommandsTest, SaysWhatAReportLacks)
{
    EXPECT_EQ(ask(reportRequest({QStringLiteral(" "), false, false, false, {}})).error,
              QStringLiteral("The description is empty."));
    EXPECT_EQ(ask(reportRequest({QStringLiteral("It broke."), false, false, true, {}})).error,
              QStringLiteral("Attachments are required for import/opening issues."));
    EXPECT_FALSE(reports.last);
}

TEST_F(AccountCommandsTest, SaysWhyAReportWasNotSent)
{
    reports.failure = QStringLiteral("This archive takes no bug reports.");

    EXPECT_EQ(ask(reportRequest({QStringLiteral("It broke."), false, false, false, {}})).error,
              *reports.failure);
}

} // namespace gateway::terminal::testing
