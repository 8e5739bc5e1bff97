#include "terminal/commands/command_requests.h"

#include "terminal/commands/retention_option.h"

#include <QtCore/QDir>

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

TEST(CommandRequests, BringASetupAcross)
{
    const SetupCommand command{u"GATE"_qs, u"11112"_qs, u"/in"_qs, u"30-days"_qs, true};

    const auto request = decodeRequest(encode(setupRequest(command)).chopped(1));
    ASSERT_TRUE(request.has_value());
    const SetupCommand arrived = setupCommandIn(*request);

    EXPECT_EQ(arrived.aeTitle, u"GATE"_qs);
    EXPECT_EQ(arrived.port, u"11112"_qs);
    EXPECT_EQ(arrived.incomingFolder, u"/in"_qs);
    EXPECT_EQ(arrived.autoDelete, u"30-days"_qs);
    EXPECT_TRUE(arrived.withoutBonjour);
}

TEST(CommandRequests, LeaveOutOfASetupWhatWasNotGiven)
{
    const SetupCommand arrived =
        setupCommandIn(setupRequest({u"GATE"_qs, u"11112"_qs, std::nullopt, std::nullopt, false}));

    EXPECT_EQ(arrived.incomingFolder, std::nullopt);
    EXPECT_EQ(arrived.autoDelete, std::nullopt);
    EXPECT_FALSE(arrived.withoutBonjour);
}

TEST(CommandRequests, NameTheFolderAsWhoeverAsksSeesIt)
{
    const SetupCommand arrived =
        setupCommandIn(setupRequest({u"GATE"_qs, u"11112"_qs, u"in/box"_qs, std::nullopt, false}));

    EXPECT_EQ(arrived.incomingFolder, QDir::currentPath() + u"/in/box"_qs);
}

} // namespace
} // namespace gateway::terminal
