#include "index/import_elements.h"

#include <QtCore/QDateTime>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace gateway::index {

namespace {

const QString kKey = QStringLiteral("key");

QVariantMap with(const QVariant &value)
{
    return {{kKey, value}};
}

std::int64_t integerIn(const QVariant &value)
{
    return elements::integer(with(value), kKey, -7);
}

} // namespace

TEST(ImportElements, ReadIntegersFromNumbersAndPlainDigits)
{
    EXPECT_EQ(integerIn(12), 12);
    EXPECT_EQ(integerIn(QVariant::fromValue<qlonglong>(1LL << 40)), 1LL << 40);
    EXPECT_EQ(integerIn(3.9), 3);
    EXPECT_EQ(integerIn(QStringLiteral("42")), 42);
    EXPECT_EQ(integerIn(QStringLiteral("+42")), 42);
    EXPECT_EQ(integerIn(QStringLiteral("-42")), -42);
}

TEST(ImportElements, AnythingElseIsTheDefault)
{
    EXPECT_EQ(integerIn(QVariant()), -7);
    for (const QString &text : {QStringLiteral("abc"),
                                QString(),
                                QStringLiteral("-"),
                                QStringLiteral(" 4"),
                                QStringLiteral("4.0"),
                                QStringLiteral("0x10"),
                                QStringLiteral("99999999999999999999")}) {
        EXPECT_EQ(integerIn(text), -7) << text.toStdString();
    }
    EXPECT_EQ(integerIn(std::numeric_limits<double>::infinity()), -7);
    EXPECT_EQ(integerIn(std::nan("")), -7);
    EXPECT_EQ(integerIn(1e30), -7);
    EXPECT_EQ(integerIn(QVariantList{1}), -7);
}

TEST(ImportElements, AreAbsentWhenOfAnotherType)
{
    EXPECT_FALSE(elements::text(with(5), kKey));
    EXPECT_FALSE(elements::number(with(QStringLiteral("5")), kKey));
    EXPECT_FALSE(elements::date(with(QStringLiteral("20200101")), kKey));
    EXPECT_FALSE(elements::date(with(QDateTime()), kKey));
    EXPECT_FALSE(elements::floats(with(QStringLiteral("12")), kKey));
    EXPECT_FALSE(elements::floats(with(QVariantList{1.0, QStringLiteral("x")}), kKey));
    EXPECT_FALSE(elements::boolean(with(QStringLiteral("true")), kKey));
}

TEST(ImportElements, ReadDatesWithAndWithoutATime)
{
    const QDateTime moment(QDate(2024, 2, 29), QTime(13, 14, 15), Qt::UTC);

    EXPECT_EQ(elements::date(with(moment), kKey), moment.toMSecsSinceEpoch());
    EXPECT_EQ(elements::date(with(moment.date()), kKey), moment.date().startOfDay().toMSecsSinceEpoch());
}

TEST(ImportElements, KeepArraysAsSingleFloats)
{
    const auto bytes = elements::floats(with(QVariantList{1.0, -0.5}), kKey);

    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->toHex(), QByteArray("0000803f000000bf"));
    EXPECT_EQ(elements::floats(with(QVariant::fromValue(QList<double>{1.0, -0.5})), kKey), bytes);
}

} // namespace gateway::index
