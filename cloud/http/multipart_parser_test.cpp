#include "cloud/http/multipart_parser.h"

#include <gtest/gtest.h>

#include <vector>

namespace gateway::cloud {
namespace {

struct Part
{
    PartHeaders headers;
    std::string content;
    bool ended = false;
};

class CollectingSink final : public MultipartSink
{
public:
    void partBegan(const PartHeaders &headers) override { parts.push_back({headers, {}, false}); }

    void partData(std::string_view bytes) override { parts.back().content += bytes; }

    void partEnded() override { parts.back().ended = true; }

    std::vector<Part> parts;
};

/// Parses `body` in pieces of `size` bytes.
std::vector<Part> parse(std::string_view body, std::size_t size = 1'000'000)
{
    CollectingSink sink;
    MultipartParser parser("b", sink);
    for (std::size_t at = 0; at < body.size(); at += size) {
        parser.feed(body.substr(at, size));
    }
    parser.finish();
    return sink.parts;
}

const std::string kTwoParts =
    "--b\r\nContent-Type: application/dicom\r\n\r\nfirst\r\n"
    "--b\r\ncontent-TYPE:text/plain\r\nX-Long: one\r\n two\r\n\r\nsecond\r\n--b--\r\n";

TEST(MultipartParser, GivesPartsWithHeadersAndContent)
{
    const std::vector<Part> parts = parse(kTwoParts);

    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].headers.at("content-type"), "application/dicom");
    EXPECT_EQ(parts[0].content, "first");
    EXPECT_TRUE(parts[0].ended);
    EXPECT_EQ(parts[1].headers.at("x-long"), "one two");
    EXPECT_EQ(parts[1].content, "second");
}

TEST(MultipartParser, GivesTheSamePartsHoweverTheBodyIsCut)
{
    std::string body = "preamble\r\n--x\r\n" + kTwoParts;
    body.insert(body.find("first"), "\r\n--\r\r\n-\r\n--c\r\n-");
    const std::vector<Part> whole = parse(body);

    for (std::size_t size = 1; size < body.size(); ++size) {
        const std::vector<Part> pieces = parse(body, size);
        ASSERT_EQ(pieces.size(), whole.size()) << size;
        EXPECT_EQ(pieces[0].content, "\r\n--\r\r\n-\r\n--c\r\n-first") << size;
        EXPECT_EQ(pieces[1].content, "second") << size;
    }
}

TEST(MultipartParser, KeepsLineEndsThatBelongToTheContent)
{
    const std::vector<Part> parts = parse("--b\r\n\r\n\r\ncontent\r\n\r\n--b--", 1);

    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].content, "\r\ncontent\r\n");
}

TEST(MultipartParser, TakesAnEmptyPart)
{
    for (const char *body :
         {"--b\r\n\r\n--b--\r\n", "--b\r\n\r\n\r\n--b--\r\n", "--b\r\nA: 1\r\n\r\n--b--"}) {
        const std::vector<Part> parts = parse(body, 1);

        ASSERT_EQ(parts.size(), 1U) << body;
        EXPECT_EQ(parts[0].content, "") << body;
        EXPECT_TRUE(parts[0].ended) << body;
    }
}

TEST(MultipartParser, IgnoresWhatStandsBeforeAndBehind)
{
    const std::vector<Part> parts =
        parse("before\r\n--b \t\r\n\r\nx\r\n--b--\r\nbehind\r\n--b\r\n\r\nno\r\n--b--");

    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].content, "x");
}

TEST(MultipartParser, RefusesABodyWithoutItsClosingDelimiter)
{
    for (const char *body :
         {"", "--b", "--b\r\n\r\nx", "--b\r\n\r\nx\r\n--b", "--b\r\n\r\nx\r\n--b-", "x--b--"}) {
        EXPECT_THROW(parse(body), MultipartError) << body;
    }
}

TEST(MultipartParser, RefusesBrokenHeaders)
{
    EXPECT_THROW(parse("--b\r\nno colon\r\n\r\nx\r\n--b--"), MultipartError);
    EXPECT_THROW(parse("--b\r\n: no name\r\n\r\nx\r\n--b--"), MultipartError);
    EXPECT_THROW(parse("--b\r\nA: 1\n\r\nx\r\n--b--"), MultipartError);
    EXPECT_THROW(parse("--bother\r\n\r\nx\r\n--b--"), MultipartError);
}

TEST(MultipartParser, RefusesAnEndlessHeader)
{
    const std::string body = "--b\r\nA: " + std::string(20'000, 'x');

    EXPECT_THROW(parse(body, 100), MultipartError);
}

TEST(MultipartParser, RefusesABoundaryThatCantBe)
{
    CollectingSink sink;

    EXPECT_THROW(MultipartParser("", sink), MultipartError);
    EXPECT_THROW(MultipartParser("a\r\nb", sink), MultipartError);
    EXPECT_THROW(MultipartParser(std::string(201, 'x'), sink), MultipartError);
}

TEST(MultipartParser, TakesABoundaryLongerThanTheStandardAllowsAsSomeArchivesSendIt)
{
    CollectingSink sink;
    const std::string boundary(73, 'x');
    MultipartParser parser(boundary, sink);

    parser.feed("--" + boundary + "\r\n\r\nabc\r\n--" + boundary + "--");
    parser.finish();

    ASSERT_EQ(sink.parts.size(), 1U);
    EXPECT_EQ(sink.parts[0].content, "abc");
}

} // namespace
} // namespace gateway::cloud
