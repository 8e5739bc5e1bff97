#include "terminal/commands/command_requests.h"

#include "terminal/commands/retention_option.h"

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

using core::GatewayAutoDeleteMode;

TEST(RetentionOption, ReadsItsThreeForms)
{
    EXPECT_EQ(parseRetentionOption(u"never"_qs)->mode, GatewayAutoDeleteMode::never);
    EXPECT_EQ(parseRetentionOption(u"30-days"_qs)->mode, GatewayAutoDeleteMode::days);
    EXPECT_EQ(parseRetentionOption(u"30-days"_qs)->valueText, u"30"_qs);
    EXPECT_EQ(parseRetentionOption(u"6-months"_qs)->mode, GatewayAutoDeleteMode::months);
}

TEST(RetentionOption, ReadsNoOther)
{
    for (const QString &text : {u""_qs,
                                u"30"_qs,
                                u"days"_qs,
                                u"-days"_qs,
                                u"3 days"_qs,
                                u"3-years"_qs,
                                u"never-days"_qs,
                                u"-3-days"_qs,
                                u"3-days\n"_qs}) {
        EXPECT_FALSE(parseRetentionOption(text).has_value()) << text.toStdString();
    }
}

TEST(CommandRequests, BringADraftAcross)
{
    const SetupCommand command{u"GATE"_qs, u"11112"_qs, u"/in"_qs, u"30-days"_qs, false};

    const auto request = decodeRequest(encode(setupRequest(command)).chopped(1));
    ASSERT_TRUE(request.has_value());
    const auto draft = draftIn(*request);

    ASSERT_TRUE(draft.has_value());
    EXPECT_EQ(draft->aeTitle, u"GATE"_qs);
    EXPECT_EQ(draft->portText, u"11112"_qs);
    EXPECT_EQ(draft->destinationFolder, u"/in"_qs);
    EXPECT_EQ(draft->autoDeleteMode, GatewayAutoDeleteMode::days);
    EXPECT_EQ(draft->autoDeleteValueText, u"30"_qs);
    EXPECT_FALSE(draft->advertiseWithBonjour);
}

TEST(CommandRequests, LeaveOutTheFolderThatWasNotGiven)
{
    const auto draft = draftIn(setupRequest({u"GATE"_qs, u"11112"_qs, std::nullopt, u"never"_qs, true}));

    ASSERT_TRUE(draft.has_value());
    EXPECT_FALSE(draft->destinationFolder.has_value());
    EXPECT_TRUE(draft->advertiseWithBonjour);
}

TEST(CommandRequests, FindNoDraftInARequestOfAnotherShape)
{
    EXPECT_FALSE(draftIn({requests::kSetup, {}}).has_value());
    EXPECT_FALSE(draftIn({requests::kSetup, {{u"autoDelete"_qs, 7}}}).has_value());
}

} // namespace
} // namespace gateway::terminal
