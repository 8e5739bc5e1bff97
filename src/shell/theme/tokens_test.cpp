#include "shell/theme/tokens.h"

#include <QtCore/QFile>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

QByteArray builtInText()
{
    QFile file(QStringLiteral(":/shell/tokens.json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

std::string refusal(const QByteArray &json)
{
    try {
        Tokens::parse(json);
    } catch (const InvalidTokens &error) {
        return error.what();
    }
    return "taken";
}

TEST(Tokens, OfTheProgramAreComplete)
{
    const Tokens tokens = Tokens::builtIn();

    EXPECT_EQ(tokens.uiFamily, QStringLiteral("Inter"));
    EXPECT_EQ(tokens.size.at(Size::control), 34);
    EXPECT_EQ(tokens.radius.at(Radius::card), 14);
    EXPECT_EQ(tokens.space.at(Space::page), 24);
    EXPECT_EQ(tokens.type.at(TypeStyle::display).pixels, 28);
    EXPECT_EQ(tokens.motion.at(Motion::slow), std::chrono::milliseconds(260));
}

TEST(Tokens, TakeTheAlphaFromBehindTheColor)
{
    const Tokens tokens = Tokens::builtIn();

    const QColor line = tokens.variants.at(Variant::dark).colors.at(Color::line);

    EXPECT_EQ(line.red(), 255);
    EXPECT_EQ(line.blue(), 255);
    EXPECT_EQ(line.alpha(), 0x14);
}

TEST(Tokens, TellWhichKeyIsAbsent)
{
    EXPECT_EQ(refusal(builtInText().replace("\"violet\"", "\"purple\"")), "tokens.json: dark.violet");
    EXPECT_EQ(refusal(builtInText().replace("\"iconChip\"", "\"chip\"")), "tokens.json: iconChip");
    EXPECT_EQ(refusal(builtInText().replace("\"light\"", "\"pale\"")), "tokens.json: light");
}

TEST(Tokens, RefuseWhatIsNoColor)
{
    for (const char *wrong : {"blue", "#3D8", "#3D8BF", "#3D8BFG", "3D8BFF", ""}) {
        EXPECT_EQ(refusal(builtInText().replace("#3D8BFF", wrong)), "tokens.json: dark.blue") << wrong;
    }
}

TEST(Tokens, RefuseNumbersOutOfTheirRange)
{
    EXPECT_EQ(refusal(builtInText().replace("\"control\": 34", "\"control\": -1")), "tokens.json: control");
    EXPECT_EQ(refusal(builtInText().replace("\"tint\": 0.14", "\"tint\": 1.4")), "tokens.json: dark.tint");
    EXPECT_EQ(refusal(builtInText().replace("[28, 600]", "[28]")), "tokens.json: display");
}

TEST(Tokens, RefuseWhatIsNoJson)
{
    EXPECT_EQ(refusal("{"), "tokens.json: no JSON object");
    EXPECT_EQ(refusal("[]"), "tokens.json: no JSON object");
}

} // namespace
} // namespace gateway::shell
