#include "platform/dicom_protocol/channel.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace gateway::platform::dicom_protocol;

TEST(Record, ComesBackAsItWasEncoded)
{
    const Record record{"file", {{"path", std::string("a\0b", 3)}, {"empty", ""}, {"size", "42"}}};

    const auto decoded = decode(encode(record));

    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, record);
    EXPECT_EQ(decoded->number("size", 0), 42);
    EXPECT_EQ(decoded->number("path", -1), -1);
    EXPECT_EQ(decoded->text("missing"), "");
}

TEST(Record, EveryTruncationInsideAFieldIsRefused)
{
    const std::string bytes = encode(Record{"file", {{"path", "abc"}}});

    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const bool wordAlone = size == 5;
        EXPECT_EQ(decode(std::string_view(bytes).substr(0, size)).has_value(), wordAlone) << size;
    }
}

TEST(Record, TooLongAValueIsRefusedWhenEncoding)
{
    EXPECT_THROW(encode(Record{"w", {{"v", std::string(kMaxRecordBytes, 'x')}}}), std::length_error);
    EXPECT_THROW(encode(Record{std::string(256, 'w'), {}}), std::length_error);
}

TEST(Channel, CarriesRecordsBothWays)
{
    auto [left, right] = Channel::makePair();
    Record received;

    ASSERT_TRUE(left.send(Record{"ping", {{"n", "1"}}}));
    ASSERT_EQ(right.receive(received), Channel::Receipt::record);
    EXPECT_EQ(received.word, "ping");

    ASSERT_TRUE(right.send(Record{"pong", {}}));
    ASSERT_EQ(left.receive(received), Channel::Receipt::record);
    EXPECT_EQ(received.word, "pong");
}

TEST(Channel, ARecordOfTheGreatestSizeArrivesWhole)
{
    auto [left, right] = Channel::makePair();
    const Record large{"w", {{"v", std::string(kMaxRecordBytes - 8, 'x')}}};
    Record received;

    ASSERT_TRUE(left.send(large));
    ASSERT_EQ(right.receive(received), Channel::Receipt::record);
    EXPECT_EQ(received, large);
}

TEST(Channel, ReceiveTimesOutAndThenSeesTheCloseOfTheOtherEnd)
{
    auto [left, right] = Channel::makePair();
    Record received;

    EXPECT_EQ(right.receive(received, std::chrono::milliseconds(0)), Channel::Receipt::timeout);
    left.close();
    EXPECT_EQ(right.receive(received), Channel::Receipt::closed);
    EXPECT_FALSE(right.send(Record{"ping", {}}));
}
