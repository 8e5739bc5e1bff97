#include "shell/desktop/feedback_mail.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

TEST(FeedbackMail, GoesToTheConfiguredAddressWithASubjectAndNoBody)
{
    EXPECT_EQ(feedbackMail(QStringLiteral(" help@site.example ")).toString(QUrl::FullyEncoded),
              QStringLiteral("mailto:help@site.example?subject=Quorin%20Gateway%20Feedback"));
}

TEST(FeedbackMail, HasNoRecipientWhereNoneIsConfigured)
{
    EXPECT_EQ(feedbackMail({}).toString(QUrl::FullyEncoded),
              QStringLiteral("mailto:?subject=Quorin%20Gateway%20Feedback"));
}

} // namespace
} // namespace gateway::shell
