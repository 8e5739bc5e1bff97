#include "terminal/commands/account_requests.h"

#include <QtCore/QDir>
#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

TEST(AccountRequests, CarryTheFilesOfAReportByTheirAbsolutePaths)
{
    const ReportCommand command{u"It broke."_qs, true, false, true, {u"a.dcm"_qs, u"/data/b.dcm"_qs}};

    const account::GatewayBugReportForm form = reportFormIn(reportRequest(command));

    EXPECT_EQ(form.descriptionText, u"It broke."_qs);
    EXPECT_TRUE(form.isReproducible);
    EXPECT_FALSE(form.happenedDuringImport);
    EXPECT_TRUE(form.happenedDuringOpening);
    EXPECT_EQ(form.attachments,
              (QList<QUrl>{QUrl::fromLocalFile(QDir::current().absoluteFilePath(u"a.dcm"_qs)),
                           QUrl::fromLocalFile(u"/data/b.dcm"_qs)}));
}

TEST(AccountRequests, CarryPasswordsAsTyped)
{
    const account::GatewayPasswordForm form =
        passwordFormIn(passwordRequest({u" old "_qs, u" new "_qs, u"new"_qs}));

    EXPECT_EQ(form.currentPassword, u" old "_qs);
    EXPECT_EQ(form.newPassword, u" new "_qs);
    EXPECT_EQ(form.confirmPassword, u"new"_qs);
}

TEST(AccountRequests, ShowAnEmptyFieldAsMissing)
{
    const QString text = profileText(
        {{u"email"_qs, u"ann@site.example"_qs},
         {u"firstName"_qs, QString()},
         {u"workplaces"_qs, QJsonArray{QJsonObject{{u"name"_qs, u"East"_qs}, {u"isPrimary"_qs, true}}}}});

    EXPECT_TRUE(text.contains(u"email        ann@site.example\n"_qs));
    EXPECT_TRUE(text.contains(u"firstName    --\n"_qs));
    EXPECT_TRUE(text.contains(u"East (primary)\n"_qs));
}

TEST(AccountRequests, TellWhichTermsWaitForAnAnswerAndHowToGiveIt)
{
    const QString waiting = termsText({{u"required"_qs, true},
                                       {u"version"_qs, u"2"_qs},
                                       {u"reason"_qs, u"Because."_qs},
                                       {u"text"_qs, u"Be kind."_qs}});
    const QString settled = termsText({{u"required"_qs, false}, {u"text"_qs, u"Be kind."_qs}});

    EXPECT_TRUE(waiting.startsWith(u"Quorin Cloud Terms & Conditions, version 2\nBecause.\n\nBe kind.\n"_qs));
    EXPECT_TRUE(waiting.contains(u"quorin-gateway terms accept"_qs));
    EXPECT_TRUE(waiting.contains(u"quorin-gateway terms decline"_qs));
    EXPECT_TRUE(settled.startsWith(u"Quorin Cloud Terms & Conditions\n\nBe kind.\n"_qs));
    EXPECT_FALSE(settled.contains(u"terms accept"_qs));
}

} // namespace
} // namespace gateway::terminal
