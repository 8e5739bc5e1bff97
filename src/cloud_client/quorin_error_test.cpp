#include "cloud_client/quorin_error.h"

#include "platform/dicom/testing/identities.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace gateway::cloud_client {

using platform::testing::instanceUid;

namespace {

const QString kFallback = QStringLiteral("Something went wrong.");

QString words(const std::exception &error)
{
    return userFacingMessage(error, kFallback);
}

} // namespace

TEST(UserFacingMessage, PrefersTheTrimmedMessageOfTheService)
{
    EXPECT_EQ(
        words(QrnErrorResponse(QrnErrorKind::credentialsRefused, QStringLiteral(" \nWrong password.\t\n"))),
        QStringLiteral("Wrong password."));
}

TEST(UserFacingMessage, FallsBackWhenTheServiceSaidNothing)
{
    EXPECT_EQ(words(QrnErrorResponse(QrnErrorKind::sessionInvalid, std::nullopt)), kFallback);
    EXPECT_EQ(words(QrnErrorResponse(QrnErrorKind::sessionInvalid, QStringLiteral(" \n"))), kFallback);
}

TEST(UserFacingMessage, UsesTheLocalizedDescriptionOfOtherErrors)
{
    EXPECT_EQ(words(AFError(QStringLiteral(" No route. "), std::nullopt)), QStringLiteral("No route."));
    EXPECT_EQ(words(std::runtime_error("plain trouble")), QStringLiteral("plain trouble"));
}

TEST(UserFacingMessage, TakesNullTextsAsNoWords)
{
    EXPECT_EQ(words(AFError(QStringLiteral(" (null) "), 500)), kFallback);
    EXPECT_EQ(words(AFError(QString(), 500)), kFallback);
}

TEST(LocalizedDescription, IsTheErrorsWordsAsTheyStand)
{
    EXPECT_EQ(localizedDescription(AFError(QStringLiteral(" No route. "), std::nullopt)),
              QStringLiteral(" No route. "));
    EXPECT_EQ(localizedDescription(QrnErrorResponse(QrnErrorKind::notFound, std::nullopt)), QString());
    EXPECT_EQ(localizedDescription(std::runtime_error("plain trouble")), QStringLiteral("plain trouble"));
}

TEST(PlainText, NamesTheErrorAndItsNumberBeforeItsWords)
{
    EXPECT_EQ(plainText(AFError(QStringLiteral("No route."), std::nullopt, 7)),
              QStringLiteral("AFError 7: No route."));
    EXPECT_EQ(plainText(QrnErrorResponse(QrnErrorKind::serviceFault, std::nullopt)),
              QStringLiteral("QrnErrorResponse 9"));
    EXPECT_EQ(
        plainText(QrnErrorResponse(QrnErrorKind::serviceFault, QStringLiteral("No room for Doe^Jane."), 503)),
        QStringLiteral("QrnErrorResponse 9: The cloud service refused the call (status 503)."));
    EXPECT_EQ(plainText(std::runtime_error("plain trouble")), QStringLiteral("plain trouble"));
}

TEST(AFError, CarriesTheStatusAsItsNumberForTheLog)
{
    EXPECT_EQ(AFError(QStringLiteral("x"), 413, 7).code, 413);
    EXPECT_EQ(AFError(QStringLiteral("x"), std::nullopt, 7).code, 7);
    EXPECT_FALSE(AFError(QStringLiteral("x"), std::nullopt, 7).responseCode);
}

TEST(QrnStowResponse, NamesAFileByItsBareInstanceAndNotByAPrefixOfIt)
{
    const QrnStowResponse error({{QStringLiteral(" 1.2.3\n"), QStringLiteral("/store/7.dcm")}}, 0xA700);

    EXPECT_TRUE(error.names(QUrl::fromLocalFile(QStringLiteral("/other.dcm")), instanceUid("1.2.3")));
    EXPECT_FALSE(error.names(QUrl::fromLocalFile(QStringLiteral("/other.dcm")), instanceUid("1.2.30")));
    EXPECT_FALSE(error.names(QUrl::fromLocalFile(QStringLiteral("/other.dcm")), {}));
    EXPECT_EQ(error.code, 0xA700);
}

TEST(QrnStowResponse, NamesAFileWithoutAnInstanceByItsPath)
{
    const QrnStowResponse error({{QStringLiteral("/store/7.dcm")}, {}}, 0);

    EXPECT_TRUE(error.names(QUrl::fromLocalFile(QStringLiteral("/store/7.dcm")), instanceUid("1.2.3")));
    EXPECT_FALSE(error.names(QUrl::fromLocalFile(QStringLiteral("/store/8.dcm")), instanceUid("1.2.3")));
    EXPECT_FALSE(error.names(QUrl(), {}));
}

} // namespace gateway::cloud_client
