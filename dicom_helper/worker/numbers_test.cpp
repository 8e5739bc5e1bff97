#include "dicom_helper/worker/numbers.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

TEST(Numbers, IntegersAreWholeTexts)
{
    EXPECT_EQ(parseInteger(" +42 "), 42);
    EXPECT_EQ(parseInteger("-7"), -7);
    EXPECT_EQ(parseInteger("2147483648"), 2147483648);
    EXPECT_FALSE(parseInteger("abc"));
    EXPECT_FALSE(parseInteger("1.5"));
    EXPECT_FALSE(parseInteger(""));
    EXPECT_FALSE(parseInteger("99999999999999999999"));
}

TEST(Numbers, RealsAreFinite)
{
    EXPECT_EQ(parseReal("-1.5e2 "), -150.0);
    EXPECT_EQ(parseReal("+4"), 4.0);
    EXPECT_FALSE(parseReal("nan"));
    EXPECT_FALSE(parseReal("inf"));
    EXPECT_FALSE(parseReal("1e999"));
    EXPECT_FALSE(parseReal("1,5"));
    EXPECT_EQ(parseReals("1\\0 \\-2.5"), (std::vector<double>{1, 0, -2.5}));
    EXPECT_TRUE(parseReals("1\\x\\3").empty());
    EXPECT_TRUE(parseReals("").empty());
}

TEST(Numbers, DatesAreDaysThatExist)
{
    EXPECT_EQ(isoDate("20200229"), "2020-02-29");
    EXPECT_EQ(isoDate("1993.08.22"), "1993-08-22");
    EXPECT_FALSE(isoDate("20210229"));
    EXPECT_FALSE(isoDate("2021"));
    EXPECT_FALSE(isoDate("00000101"));
    EXPECT_FALSE(isoDate("20200101-"));
    EXPECT_FALSE(isoDate("yesterday"));
}

TEST(Numbers, TimesMayEndEarly)
{
    EXPECT_EQ(isoTime("235959.123456"), "23:59:59.123");
    EXPECT_EQ(isoTime("07"), "07:00:00.000");
    EXPECT_EQ(isoTime("0730"), "07:30:00.000");
    EXPECT_EQ(isoTime("07:30:05"), "07:30:05.000");
    EXPECT_EQ(isoTime("235960"), "23:59:59.000");
    EXPECT_EQ(isoTime("120000.5"), "12:00:00.500");
    EXPECT_FALSE(isoTime("24"));
    EXPECT_FALSE(isoTime("1261"));
    EXPECT_FALSE(isoTime("noon"));
}

TEST(Numbers, OffsetsHaveASign)
{
    EXPECT_EQ(isoOffset("+0130"), "+01:30");
    EXPECT_EQ(isoOffset("-0500"), "-05:00");
    EXPECT_FALSE(isoOffset("0130"));
    EXPECT_FALSE(isoOffset("+9900"));
}

} // namespace gateway::dicom_helper::worker::testing
