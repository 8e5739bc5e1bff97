#include "wizard/setup_checks.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;

TEST(SetupChecks, KeepNumberCharactersAlone)
{
    EXPECT_EQ(digitsIn(u" 1a1-1.2\u00e9\U0001F600 "_qs), u"1112"_qs);
    EXPECT_EQ(digitsIn(u"\u0663"_qs), u"\u0663"_qs) << "which is a number, and no port";
    EXPECT_EQ(parsedPort(u"\u0663"_qs), std::nullopt);
}

TEST(SetupChecks, TakePortsFrom1Through65535)
{
    EXPECT_EQ(parsedPort(u" 1 "_qs), 1);
    EXPECT_EQ(parsedPort(u"65535"_qs), 65535);
    for (const QString &bad :
         {u"0"_qs, u"65536"_qs, u""_qs, u"-1"_qs, u"11a12"_qs, u"99999999999999999999"_qs}) {
        EXPECT_EQ(parsedPort(bad), std::nullopt) << bad.toStdString();
        EXPECT_EQ(portFormatIssue(bad), u"Port must be a number between 1 and 65535."_qs);
    }
}

TEST(SetupChecks, NeedATitleWithALetterOrNumber)
{
    EXPECT_EQ(aeTitleIssue(u"  "_qs), u"AE Title is required."_qs);
    EXPECT_EQ(aeTitleIssue(u"\\\\"_qs), u"AE Title must include at least one letter or number."_qs);
    EXPECT_EQ(aeTitleIssue(u"GATE 1"_qs), std::nullopt);
}

TEST(SetupChecks, SayWhenAPortNeedsRights)
{
    EXPECT_TRUE(portStateIssue(104, PortState::forbidden)->contains(u"Port 104 needs rights"_qs));
    EXPECT_TRUE(portStateIssue(104, PortState::noAddress).has_value());
}

TEST(SetupChecks, TakeRetentionUpTo3650DaysAnd120Months)
{
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::days, u"3650"_qs), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::months, u"120"_qs), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::never, {}), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::days, u"3651"_qs),
              u"Auto-delete in days must be a number between 1 and 3650."_qs);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::months, u"121"_qs),
              u"Auto-delete in months must be a number between 1 and 120."_qs);
    EXPECT_TRUE(retentionIssue(GatewayAutoDeleteMode::days, {}).has_value());
}

TEST(SetupChecks, TakeTimeoutsFrom1Through600)
{
    EXPECT_EQ(timeoutIssue(u"600"_qs), std::nullopt);
    for (const QString &bad : {u"601"_qs, u"0"_qs, u"abc"_qs}) {
        EXPECT_EQ(timeoutIssue(bad), u"Timeout must be a number between 1 and 600."_qs);
    }
}

} // namespace
} // namespace gateway::wizard
