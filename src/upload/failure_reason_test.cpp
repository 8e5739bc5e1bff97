#include "upload/failure_reason.h"

#include "cloud_client/quorin_error.h"
#include "platform/dicom/testing/identities.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

namespace gateway::upload {

using platform::testing::instanceUid;

using cloud_client::AFError;
using cloud_client::NoAnswer;
using cloud_client::QrnErrorKind;
using cloud_client::QrnErrorResponse;
using cloud_client::QrnStowResponse;
using core::Failure;
using core::FailureClass;
using StoreUpload::PreparedCandidate;

namespace {

const platform::InstanceUid kUid = instanceUid("1.2.3");
const QString kPath = QStringLiteral("/store/10000/7.dcm");

PreparedCandidate candidate()
{
    PreparedCandidate prepared;
    prepared.identity.instance = kUid;
    prepared.uploadURL = QUrl::fromLocalFile(kPath);
    return prepared;
}

Failure failureOf(const std::exception &error)
{
    return upload::failureOf(error, candidate());
}

QrnStowResponse refusalFor(int reason)
{
    return QrnStowResponse({{kUid.value(), kPath}}, reason, {{kUid, reason}});
}

} // namespace

TEST(FailureReason, TellsEachKindOfTheServiceApart)
{
    const std::vector<std::pair<QrnErrorKind, FailureClass>> table = {
        {QrnErrorKind::sessionInvalid, FailureClass::sessionEnded},
        {QrnErrorKind::credentialsRefused, FailureClass::sessionEnded},
        {QrnErrorKind::termsNotAccepted, FailureClass::termsNotAccepted},
        {QrnErrorKind::badRequest, FailureClass::refused},
        {QrnErrorKind::passwordsDoNotMatch, FailureClass::refused},
        {QrnErrorKind::currentPasswordIncorrect, FailureClass::refused},
        {QrnErrorKind::notFound, FailureClass::noImageService},
        {QrnErrorKind::storageUsedUp, FailureClass::storageUsedUp},
        {QrnErrorKind::tooManyRequests, FailureClass::tooManyRequests},
        {QrnErrorKind::serviceFault, FailureClass::serviceFault},
        {static_cast<QrnErrorKind>(77), FailureClass::refused},
    };
    for (const auto &[kind, expected] : table) {
        const Failure failure = failureOf(QrnErrorResponse(kind, QStringLiteral("Doe^Jane has no room")));

        EXPECT_EQ(failure, (Failure{expected, static_cast<int>(kind)})) << static_cast<int>(kind);
    }
}

TEST(FailureReason, GoesByTheStatusWhereTheKindSaysLess)
{
    EXPECT_EQ(failureOf(QrnErrorResponse(QrnErrorKind::badRequest, {}, 413)).failureClass,
              FailureClass::tooLarge);
    EXPECT_EQ(failureOf(QrnErrorResponse(QrnErrorKind::badRequest, {}, 403)).failureClass,
              FailureClass::notPermitted);
    EXPECT_EQ(failureOf(QrnErrorResponse(QrnErrorKind::serviceFault, {}, 503)).failureClass,
              FailureClass::tooManyRequests);
    EXPECT_EQ(failureOf(QrnErrorResponse(QrnErrorKind::termsNotAccepted, {}, 403)).failureClass,
              FailureClass::termsNotAccepted);
}

TEST(FailureReason, TellsBareStatusesApart)
{
    const std::vector<std::pair<int, FailureClass>> table = {{302, FailureClass::unexpectedAnswer},
                                                             {400, FailureClass::refused},
                                                             {401, FailureClass::sessionEnded},
                                                             {403, FailureClass::notPermitted},
                                                             {404, FailureClass::noImageService},
                                                             {405, FailureClass::noImageService},
                                                             {407, FailureClass::unexpectedAnswer},
                                                             {408, FailureClass::timedOut},
                                                             {409, FailureClass::refused},
                                                             {413, FailureClass::tooLarge},
                                                             {415, FailureClass::kindNotSupported},
                                                             {429, FailureClass::tooManyRequests},
                                                             {500, FailureClass::serviceFault},
                                                             {501, FailureClass::noImageService},
                                                             {502, FailureClass::serviceFault},
                                                             {503, FailureClass::tooManyRequests},
                                                             {504, FailureClass::timedOut},
                                                             {507, FailureClass::storageUsedUp},
                                                             {511, FailureClass::unexpectedAnswer}};
    for (const auto &[status, expected] : table) {
        EXPECT_EQ(failureOf(AFError(QString(), status)), (Failure{expected, status})) << status;
    }
}

TEST(FailureReason, TellsApartWhyNoAnswerCame)
{
    const std::vector<std::pair<NoAnswer, FailureClass>> table = {
        {NoAnswer::otherReason, FailureClass::notReachable},
        {NoAnswer::proxyRefused, FailureClass::unexpectedAnswer},
        {NoAnswer::badAddress, FailureClass::noImageService},
        {NoAnswer::addressNotFound, FailureClass::addressNotFound},
        {NoAnswer::notReachable, FailureClass::notReachable},
        {NoAnswer::notSecure, FailureClass::notSecure},
        {NoAnswer::timedOut, FailureClass::timedOut},
        {NoAnswer::notAsked, FailureClass::notConfirmed},
        {NoAnswer::connectionLost, FailureClass::connectionLost},
        {NoAnswer::unusableAnswer, FailureClass::unexpectedAnswer},
        {NoAnswer::unusableFile, FailureClass::fileUnreadable},
        {NoAnswer::answerNotKept, FailureClass::machineTrouble}};
    for (const auto &[reason, expected] : table) {
        EXPECT_EQ(failureOf(AFError(QString(), std::nullopt, 7, reason)), (Failure{expected, 7}))
            << static_cast<int>(reason);
    }
}

TEST(FailureReason, OfAServerThatPointsElsewhereConcernsTheWholeQueue)
{
    for (const int status : {301, 302, 303, 307, 308}) {
        EXPECT_EQ(failedEnd(AFError(QString(), status), candidate()).reach, StoreUpload::FailureReach::queue)
            << status;
    }
    EXPECT_EQ(failedEnd(AFError(QString(), 400), candidate()).reach, StoreUpload::FailureReach::file);
}

TEST(FailureReason, ReadsTheFailureReasonsOfTheStandard)
{
    const std::vector<std::pair<int, FailureClass>> table = {
        {0x0106, FailureClass::contentDoesNotFit}, {0x0110, FailureClass::serviceFault},
        {0x0117, FailureClass::contentDoesNotFit}, {0x0118, FailureClass::kindNotSupported},
        {0x0120, FailureClass::contentDoesNotFit}, {0x0122, FailureClass::kindNotSupported},
        {0x0124, FailureClass::notPermitted},      {0x0210, FailureClass::refused},
        {0x0213, FailureClass::outOfResources},    {0xA6FF, FailureClass::refused},
        {0xA700, FailureClass::outOfResources},    {0xA7FF, FailureClass::outOfResources},
        {0xA800, FailureClass::refused},           {0xA900, FailureClass::contentDoesNotFit},
        {0xA9FF, FailureClass::contentDoesNotFit}, {0xC000, FailureClass::notUnderstood},
        {0xC122, FailureClass::kindNotSupported},  {0xCFFF, FailureClass::notUnderstood},
        {0xD000, FailureClass::refused},           {0, FailureClass::notConfirmed}};
    for (const auto &[reason, expected] : table) {
        EXPECT_EQ(failureOf(refusalFor(reason)), (Failure{expected, reason})) << reason;
    }
}

TEST(FailureReason, OfAFileIsTheOneThatTheServerGaveForItsInstance)
{
    const QrnStowResponse refusal(
        {{QStringLiteral("9.9")}, {kUid.value()}}, 0xA700, {{instanceUid("9.9"), 0xA700}, {kUid, 0xA900}});

    EXPECT_EQ(failureOf(refusal), (Failure{FailureClass::contentDoesNotFit, 0xA900}));
}

TEST(FailureReason, OfAFileWithoutOneIsWhatEndedTheRestOfTheUpload)
{
    const QrnStowResponse refusal(
        {{kUid.value(), kPath}},
        0,
        {},
        std::make_exception_ptr(AFError(QString(), std::nullopt, 56, NoAnswer::connectionLost)));

    EXPECT_EQ(failureOf(refusal), (Failure{FailureClass::connectionLost, 56}));
}

TEST(FailureReason, OfAnInstanceThatIsStillBeingStoredPasses)
{
    constexpr int kBeingStored = 45071;

    EXPECT_EQ(failureOf(refusalFor(kBeingStored)).failureClass, FailureClass::serviceFault);
}

TEST(FailureReason, OfAnInstanceThatTheAnswerDidNotNameIsThatItWasNotConfirmed)
{
    EXPECT_EQ(failureOf(QrnStowResponse({{kUid.value(), kPath}}, 0)),
              (Failure{FailureClass::notConfirmed, 0}));
    EXPECT_EQ(failureOf(QrnStowResponse({{kUid.value(), kPath}}, 0, {}, nullptr, {}, {kUid})),
              (Failure{FailureClass::notThereYet, 0}));
    EXPECT_EQ(failureOf(QrnStowResponse({{kUid.value(), kPath}}, 0, {}, nullptr, {}, {instanceUid("9")})),
              (Failure{FailureClass::notConfirmed, 0}));
}

TEST(FailureReason, OfAFileThatCouldNotBeReadIsNotTheServersReasonForOthers)
{
    const QrnStowResponse refusal({{kPath}, {QStringLiteral("9.9")}}, 0xA700, {{instanceUid("9.9"), 0xA700}});

    EXPECT_EQ(failureOf(refusal), (Failure{FailureClass::fileUnreadable, 0}));
}

TEST(FailureReason, NamesTheConversionWhereNeitherEncoderNorCloudUnderstoodTheImage)
{
    PreparedCandidate unconverted = candidate();
    unconverted.details.insert(QStringLiteral("compression_fallback_reason"),
                               QStringLiteral("conversion_error"));

    EXPECT_EQ(upload::failureOf(refusalFor(0xC000), unconverted),
              (Failure{FailureClass::conversionFailed, 0xC000}));
    EXPECT_EQ(upload::failureOf(refusalFor(0xA700), unconverted),
              (Failure{FailureClass::outOfResources, 0xA700}));
}

TEST(FailureReason, OfAnythingElseHasNoName)
{
    EXPECT_EQ(failureOf(std::runtime_error("out of wires")), (Failure{FailureClass::unknown, 0}));
    EXPECT_EQ(failureOf(cloud_client::QrnNotOffered(QString())), (Failure{FailureClass::noImageService, 0}));
}

} // namespace gateway::upload
