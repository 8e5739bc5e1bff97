#include "cloud/http/text.h"

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

TEST(Text, ReadsAMediaTypeWithQuotedParameters)
{
    const MediaType type = parseMediaType(
        "Multipart/Related ; TYPE=\"application/dicom\"; boundary=\"a;b\\\"c\" ; charset = utf-8");

    EXPECT_EQ(type.name, "multipart/related");
    EXPECT_EQ(type.parameter("type"), "application/dicom");
    EXPECT_EQ(type.parameter("boundary"), "a;b\"c");
    EXPECT_EQ(type.parameter("charset"), "utf-8");
    EXPECT_EQ(type.parameter("missing"), "");
}

TEST(Text, ReadsWhatItCanOfABrokenMediaType)
{
    EXPECT_EQ(parseMediaType("").name, "");
    EXPECT_EQ(parseMediaType("a/b;").name, "a/b");
    EXPECT_EQ(parseMediaType("a/b; flag; boundary=x").parameter("boundary"), "x");
    EXPECT_EQ(parseMediaType("a/b; boundary=\"open").parameter("boundary"), "open");
    EXPECT_EQ(parseMediaType("a/b; boundary=").parameter("boundary"), "");
}

TEST(Text, ReadsDecimalNumbersAndNothingElse)
{
    EXPECT_EQ(decimal("0"), 0U);
    EXPECT_EQ(decimal("18446744073709551615"), 18446744073709551615ULL);
    for (const char *text : {"", "-1", "+1", "1 ", "0x1", "18446744073709551616"}) {
        EXPECT_EQ(decimal(text), std::nullopt) << text;
    }
}

TEST(Text, SplitsKeepingEmptyPieces)
{
    EXPECT_EQ(split("/a//b", '/'), (std::vector<std::string>{"", "a", "", "b"}));
    EXPECT_EQ(split("", '/'), (std::vector<std::string>{""}));
}

} // namespace
} // namespace gateway::cloud
