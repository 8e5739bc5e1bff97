#include "terminal/control/control_protocol.h"

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

TEST(ControlProtocol, BringsARequestAcross)
{
    const ControlRequest sent{u"sign-in"_qs, {{u"email"_qs, u"a@b.example"_qs}}};

    const QByteArray line = encode(sent);
    const auto came = decodeRequest(line.chopped(1));

    ASSERT_TRUE(came.has_value());
    EXPECT_TRUE(line.endsWith('\n'));
    EXPECT_EQ(line.count('\n'), 1);
    EXPECT_EQ(came->command, sent.command);
    EXPECT_EQ(came->arguments, sent.arguments);
}

TEST(ControlProtocol, BringsSuccessAndFailureAcross)
{
    const auto success = decodeReply(encode(ControlReply::success({{u"pid"_qs, 7}})).chopped(1));
    const auto failure = decodeReply(encode(ControlReply::failure(u"No."_qs, ExitCode::usage)).chopped(1));

    ASSERT_TRUE(success.has_value());
    EXPECT_EQ(success->code, ExitCode::done);
    EXPECT_EQ(success->result.value(u"pid"_qs).toInt(), 7);
    ASSERT_TRUE(failure.has_value());
    EXPECT_EQ(failure->code, ExitCode::usage);
    EXPECT_EQ(failure->error, u"No."_qs);
}

TEST(ControlProtocol, TakesNoGarbageForARequest)
{
    const QList<QByteArray> garbage{
        "",
        "{",
        "[]",
        "null",
        "7",
        "\"command\"",
        "{}",
        "{\"command\":7}",
        "{\"command\":\"\"}",
        "{\"command\":\"x\",\"arguments\":[]}",
        "{\"command\":\"x\",\"arguments\":null}",
        "{\"command\":\"x\"} trailing",
        QByteArray("\0\0\0", 3),
        "\xff\xfe{}",
        QByteArray(kMaxControlLine + 1, ' '),
        QByteArray(2000, '['),
    };

    for (const QByteArray &line : garbage) {
        EXPECT_FALSE(decodeRequest(line).has_value()) << line.left(60).toStdString();
    }
}

TEST(ControlProtocol, TakesNoGarbageForAReply)
{
    for (const QByteArray &line :
         {QByteArray("{}"), QByteArray("{\"code\":9}"), QByteArray("{\"code\":\"0\"}")}) {
        EXPECT_FALSE(decodeReply(line).has_value()) << line.toStdString();
    }
}

TEST(ControlProtocol, TakesAReplyWithALongText)
{
    const QString text(300'000, u'x');
    QByteArray line = encode(ControlReply::success({{u"text"_qs, text}}));
    line.chop(1);

    const std::optional<ControlReply> reply = decodeReply(line);

    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->result.value(u"text").toString(), text);
    EXPECT_FALSE(decodeReply(QByteArray(kMaxControlReply + 1, ' ')));
}

} // namespace
} // namespace gateway::terminal
