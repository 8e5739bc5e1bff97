#include "shell/dashboard/cards/upload_speed_value_label.h"

#include "shell/theme/theme.h"

#include <gtest/gtest.h>

#include <limits>

namespace gateway::shell {
namespace {

QString textOf(double speed)
{
    return UploadSpeedValueLabel::textOf(speed);
}

TEST(UploadSpeedValueLabel, ReadsDashesForASpeedOfATwentieth)
{
    EXPECT_EQ(textOf(0.05), QStringLiteral("--"));
    EXPECT_EQ(textOf(0), QStringLiteral("--"));
    EXPECT_EQ(textOf(0.0999), QStringLiteral("--"));
    EXPECT_EQ(textOf(0.1), QStringLiteral("0.10 Mbps"));
}

TEST(UploadSpeedValueLabel, ReadsTenWithTwoDecimalsForWhatRoundsUpToIt)
{
    EXPECT_EQ(textOf(9.999), QStringLiteral("10.00 Mbps"));
}

TEST(UploadSpeedValueLabel, ReadsOneDecimalFromTenAndNoneFromAHundred)
{
    EXPECT_EQ(textOf(10), QStringLiteral("10.0 Mbps"));
    EXPECT_EQ(textOf(99.94), QStringLiteral("99.9 Mbps"));
    EXPECT_EQ(textOf(100), QStringLiteral("100 Mbps"));
    EXPECT_EQ(textOf(1234.6), QStringLiteral("1235 Mbps"));
}

TEST(UploadSpeedValueLabel, ReadsANegativeSpeedAndNoSpeedAtAllAsZero)
{
    EXPECT_EQ(textOf(-12), QStringLiteral("--"));
    EXPECT_EQ(textOf(std::numeric_limits<double>::quiet_NaN()), QStringLiteral("--"));
    EXPECT_EQ(textOf(std::numeric_limits<double>::infinity()), QStringLiteral("--"));
}

TEST(UploadSpeedValueLabel, TellsItsSpeedToAssistiveTools)
{
    const Theme theme;
    UploadSpeedValueLabel label(theme);
    EXPECT_EQ(label.text(), QStringLiteral("--"));

    label.setSpeedMbps(2.5);

    EXPECT_EQ(label.text(), QStringLiteral("2.50 Mbps"));
    EXPECT_EQ(label.accessibleName(), QStringLiteral("Speed"));
    EXPECT_EQ(label.accessibleDescription(), QStringLiteral("2.50 Mbps"));
}

} // namespace
} // namespace gateway::shell
