#include "cloud/http/chunked_decoder.h"

#include <gtest/gtest.h>

#include <string>

namespace gateway::cloud {
namespace {

struct Decoded
{
    std::string content;
    std::size_t taken = 0;
    bool done = false;
};

Decoded decode(std::string_view body, std::size_t size = 1'000'000)
{
    Decoded result;
    ChunkedDecoder decoder;
    const BodySink sink = [&result](std::string_view bytes) {
        result.content += bytes;
        return true;
    };
    while (result.taken < body.size() && !decoder.done()) {
        result.taken += decoder.feed(body.substr(result.taken, size), sink);
    }
    result.done = decoder.done();
    return result;
}

TEST(ChunkedDecoder, JoinsTheChunksHoweverTheyAreCut)
{
    const std::string body = "5\r\nhello\r\nA;name=value\r\n, world\r\n!\r\n0\r\nTrailer: x\r\n\r\n";

    for (std::size_t size = 1; size <= body.size(); ++size) {
        const Decoded decoded = decode(body, size);
        EXPECT_EQ(decoded.content, "hello, world\r\n!") << size;
        EXPECT_TRUE(decoded.done) << size;
    }
}

TEST(ChunkedDecoder, LeavesTheNextRequestAlone)
{
    const std::string body = "1\r\nx\r\n0\r\n\r\n";

    const Decoded decoded = decode(body + "GET / HTTP/1.1\r\n");

    EXPECT_EQ(decoded.taken, body.size());
}

TEST(ChunkedDecoder, IsNotDoneBeforeTheLastChunk)
{
    EXPECT_FALSE(decode("5\r\nhel").done);
    EXPECT_FALSE(decode("5\r\nhello\r\n0\r\n").done);
}

TEST(ChunkedDecoder, RefusesWhatIsNoChunk)
{
    for (const char *body :
         {"\r\nx", "g\r\n", "-1\r\n", "5 5\r\n", "11112222333344445\r\n", "1\r\nxy\r\n", "1\nx"}) {
        EXPECT_THROW(decode(body), ChunkedError) << body;
    }
    EXPECT_THROW(decode("1;" + std::string(5000, 'x')), ChunkedError);
}

TEST(ChunkedDecoder, StopsWhenTheSinkWantsNoMore)
{
    ChunkedDecoder decoder;

    const std::size_t taken =
        decoder.feed("1\r\nx\r\n1\r\ny\r\n0\r\n\r\n", [](std::string_view) { return false; });

    EXPECT_TRUE(decoder.refused());
    EXPECT_EQ(taken, 4U);
}

} // namespace
} // namespace gateway::cloud
