#include "shell/desktop/feedback_mail.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

TEST(FeedbackMail, GoesToTheConfiguredAddressWithASubjectAndNoBody)
{
    EXPECT_EQ(feedbackMail(QStringLiteral("help@site.example")).toString(QUrl::FullyEncoded),
              QStringLiteral("mailto:help@site.example?subject=Quorin%20Gateway%20Feedback"));
}

TEST(BugReportMail, HoldsWhatWasTypedAndAddsNoFields)
{
    EXPECT_EQ(bugReportMail(QStringLiteral("help@site.example"), QStringLiteral("50% stop&cc=x@y\nthen é"))
                  .toString(QUrl::FullyEncoded),
              QStringLiteral("mailto:help@site.example?subject=Quorin%20Gateway%20Bug%20Report"
                             "&body=50%25%20stop%26cc%3Dx%40y%0Athen%20%C3%A9"));
}

} // namespace
} // namespace gateway::shell
