#include "app/live_figures.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

class Figures : public ::testing::Test
{
protected:
    platform::testing::ManualClock m_clock;
    LiveFigures m_figures{m_clock};
};

TEST_F(Figures, CountOpenAssociations)
{
    m_figures.beginReceiveAssociation(u"A"_qs);
    m_figures.beginReceiveAssociation(u"B"_qs);
    m_figures.endReceiveAssociation(u"A"_qs);
    EXPECT_EQ(m_figures.openAssociations(), 1);

    m_figures.clearReceiveAssociations();
    EXPECT_EQ(m_figures.openAssociations(), 0);
}

TEST_F(Figures, TakeAssociationsWithoutAnIdentifierForOne)
{
    m_figures.beginReceiveAssociation({});
    m_figures.beginReceiveAssociation(u"  "_qs);
    EXPECT_EQ(m_figures.openAssociations(), 1);

    m_figures.endReceiveAssociation(u" "_qs);
    EXPECT_EQ(m_figures.openAssociations(), 0);
}

TEST_F(Figures, ForgetTheUploadSpeedEightSecondsAfterTheLastSample)
{
    m_figures.recordUploadThroughput(1'000'000, std::chrono::seconds(1));
    EXPECT_DOUBLE_EQ(m_figures.uploadSpeedMbps(), 8.0);

    m_clock.advance(std::chrono::seconds(7));
    EXPECT_DOUBLE_EQ(m_figures.uploadSpeedMbps(), 8.0);
    m_clock.advance(std::chrono::seconds(1));
    EXPECT_DOUBLE_EQ(m_figures.uploadSpeedMbps(), 0.0);
}

TEST_F(Figures, TakeNoSampleOfNothingOrOfNoTime)
{
    m_figures.recordUploadThroughput(0, std::chrono::seconds(1));
    m_figures.recordUploadThroughput(1000, std::chrono::seconds(0));

    EXPECT_DOUBLE_EQ(m_figures.uploadSpeedMbps(), 0.0);
}

} // namespace
} // namespace gateway::app
