#include "dicom_helper/scp/turned_away.h"

#include <gtest/gtest.h>

#include <vector>

namespace gateway::dicom_helper::scp {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

namespace {

class TurnedAwayTest : public ::testing::Test
{
protected:
    /// What has been told since the last call.
    std::vector<Record> told(TurnedAway::TimePoint now)
    {
        m_turnedAway.tell(m_ends.second, now);
        std::vector<Record> records;
        for (Record record;
             m_ends.first.receive(record, std::chrono::milliseconds(0)) == Channel::Receipt::record;) {
            records.push_back(record);
        }
        return records;
    }

    std::pair<Channel, Channel> m_ends = Channel::makePair();
    TurnedAway m_turnedAway;
    const TurnedAway::TimePoint m_start = TurnedAway::TimePoint(std::chrono::hours(1));
};

} // namespace

TEST_F(TurnedAwayTest, TheFirstIsToldAtOnceAndTheRestInOneRecordAMinute)
{
    m_turnedAway.note(kRequestTooLate, "10.0.0.1");
    const auto first = told(m_start);
    for (int i = 0; i < 500; ++i) {
        m_turnedAway.note(kRequestTooLate, "10.0.0.2");
    }

    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0].number("count", 0), 1);
    EXPECT_EQ(first[0].text("reason"), kRequestTooLate);
    EXPECT_EQ(first[0].text("host"), "10.0.0.1");
    EXPECT_TRUE(told(m_start + std::chrono::seconds(59)).empty());
    EXPECT_EQ(m_turnedAway.due(), m_start + std::chrono::seconds(60));
    const auto rest = told(m_start + std::chrono::seconds(60));
    ASSERT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest[0].number("count", 0), 500);
    EXPECT_EQ(m_turnedAway.due(), std::nullopt);
}

TEST_F(TurnedAwayTest, EachReasonIsToldByItself)
{
    m_turnedAway.note(kRequestTooLate, "10.0.0.1");
    told(m_start);
    m_turnedAway.note(kTooManyConnections, "10.0.0.1");

    ASSERT_EQ(told(m_start).size(), 1U);
}

} // namespace gateway::dicom_helper::scp
