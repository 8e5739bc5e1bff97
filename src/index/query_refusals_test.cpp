#include "index/testing/temporary_index.h"

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

struct QueryRefusals : ::testing::Test
{
    testing::TemporaryIndex home;
    DicomDB &index = home.index();
};

} // namespace

TEST_F(QueryRefusals, AreBelievedOnlyAfterAnHourWithoutAnAnswer)
{
    using namespace std::chrono_literals;
    QString cloud = QStringLiteral("first");
    const auto isBelievedAfter = [&](std::chrono::milliseconds time) {
        home.clock.advance(time);
        return index.noteQueryRefused(cloud);
    };
    EXPECT_FALSE(index.noteQueryRefused(cloud));
    EXPECT_FALSE(isBelievedAfter(1h - 1ms));
    EXPECT_TRUE(isBelievedAfter(1ms));

    cloud = QStringLiteral("second");
    EXPECT_FALSE(isBelievedAfter(1h)) << "the other one had said it";
    EXPECT_TRUE(isBelievedAfter(1h));

    index.noteQueryAnswered(cloud);
    EXPECT_FALSE(index.noteQueryRefused(cloud));
    EXPECT_FALSE(isBelievedAfter(100h)) << "it has some";
}

/// Or one fault in a thousand questions would put it off for ever.
TEST_F(QueryRefusals, AreBelievedThoughFaultsComeBetween)
{
    using namespace std::chrono_literals;
    const QString cloud = QStringLiteral("first");
    EXPECT_FALSE(index.noteQueryRefused(cloud));
    for (int hours = 0; hours < 100; ++hours) {
        index.noteQueryFailed(cloud);
        home.clock.advance(1h);
        EXPECT_FALSE(index.noteQueryRefused(cloud)) << "between the two it had said something else";
    }

    home.clock.advance(59min);
    EXPECT_FALSE(index.noteQueryRefused(cloud));
    index.noteQueryFailed(cloud);
    home.clock.advance(1min);
    EXPECT_FALSE(index.noteQueryRefused(cloud)) << "the last minute was one of doubt";
    home.clock.advance(1min);
    EXPECT_TRUE(index.noteQueryRefused(cloud));
}

} // namespace gateway::index
