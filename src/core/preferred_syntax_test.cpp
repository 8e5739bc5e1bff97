#include "core/preferred_syntax.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <vector>

namespace gateway::core {

TEST(PreferredSyntaxForIncomingType, ListsItsCasesInTheOrderOfThePicker)
{
    QStringList texts;
    std::vector<int> numbers;
    for (const PreferredSyntaxForIncomingType syntax : kAllPreferredSyntaxes) {
        texts.append(displayText(syntax));
        numbers.push_back(static_cast<int>(syntax));
    }

    EXPECT_EQ(texts,
              (QStringList{QStringLiteral("Explicit Little Endian"),
                           QStringLiteral("JPEG 2000 Lossless & Lossy"),
                           QStringLiteral("JPEG LS Lossless & Lossy"),
                           QStringLiteral("JPEG Lossless"),
                           QStringLiteral("Implicit Little Endian - Only"),
                           QStringLiteral("JPEG LS Lossless - Only"),
                           QStringLiteral("JPEG 2000 Lossless - Only")}));
    EXPECT_EQ(numbers, (std::vector<int>{2, 27, 24, 21, 0, 23, 26}));
}

TEST(PreferredSyntaxForIncomingType, AnyOtherNumberIsNoCase)
{
    for (int number = -1; number < 40; ++number) {
        const auto syntax = preferredSyntaxFromRawValue(number);
        if (syntax) {
            EXPECT_EQ(static_cast<int>(*syntax), number);
        }
    }
    EXPECT_TRUE(preferredSyntaxFromRawValue(27));
    EXPECT_FALSE(preferredSyntaxFromRawValue(1));
    EXPECT_FALSE(preferredSyntaxFromRawValue(22));
    EXPECT_FALSE(preferredSyntaxFromRawValue(25));
}

} // namespace gateway::core
