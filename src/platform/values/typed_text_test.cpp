#include "platform/values/typed_text.h"

#include <gtest/gtest.h>

#include <QtCore/QSet>

#include <concepts>

namespace gateway::platform {

namespace {

using Apple = TypedText<struct AppleKind>;
using Pear = TypedText<struct PearKind>;

template <typename Given, typename Wanted>
concept MayStandFor = requires(void (*take)(Wanted), Given given) { take(given); };

static_assert(MayStandFor<Apple, Apple>);
static_assert(!MayStandFor<Apple, Pear>);
static_assert(!MayStandFor<QString, Apple>);
static_assert(!MayStandFor<Apple, QString>);
static_assert(!std::equality_comparable_with<Apple, Pear>);
static_assert(!std::equality_comparable_with<Apple, QString>);

} // namespace

TEST(TypedText, KeepsItsTextToTheLetter)
{
    EXPECT_EQ(Apple(QStringLiteral(" 1.2 ")).value(), QStringLiteral(" 1.2 "));
    EXPECT_FALSE(Apple(QStringLiteral(" ")).isEmpty());
    EXPECT_TRUE(Apple().isEmpty());
    EXPECT_EQ(Apple(), Apple(QString()));
}

TEST(TypedText, ComparesAsItsTextDoes)
{
    const Apple one(QStringLiteral("1.2.3"));
    const Apple longer(QStringLiteral("1.2.30"));

    EXPECT_EQ(one, Apple(QStringLiteral("1.2.3")));
    EXPECT_NE(one, longer);
    EXPECT_LT(one, longer);
    EXPECT_FALSE(longer < one);
}

TEST(TypedText, CountsOnceInASet)
{
    const Apple one(QStringLiteral("1.2.3"));

    const QSet<Apple> apples{one, Apple(QStringLiteral("1.2.3")), Apple(QStringLiteral("1.2.4"))};

    EXPECT_EQ(apples.size(), 2);
    EXPECT_TRUE(apples.contains(one));
}

} // namespace gateway::platform
