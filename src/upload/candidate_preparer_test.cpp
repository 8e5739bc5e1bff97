#include "platform/dicom/testing/identities.h"
#include "upload/candidate_preparer.h"

#include "upload/testing/fake_surroundings.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::upload {

using platform::testing::instanceUid;

using StoreUpload::CandidateContext;
using StoreUpload::CandidatePreparationResult;
using StoreUpload::MissingFile;
using StoreUpload::PreparedCandidate;

namespace {

struct CandidatePreparerTest : ::testing::Test
{
    testing::FakeSurroundings around;
    RunIdentity run{QStringLiteral("RUN"), {.compressionEnabled = true}, QStringLiteral("DEVICE")};
    CandidatePreparer preparer{around.collaborators, run};
    QString path = around.store(QStringLiteral("1.2.3"));
    CandidateContext context = contextOf(path);
    Details details = {{QStringLiteral("linked_images"), QStringLiteral("1")}};

    static CandidateContext contextOf(const QString &storagePath)
    {
        CandidateContext made;
        made.candidate.storagePath = storagePath;
        made.candidate.fileURL = QUrl::fromLocalFile(storagePath);
        made.candidate.imageObjectIDs = {{0}};
        return made;
    }

    PreparedCandidate ready() const
    {
        return std::get<PreparedCandidate>(preparer.prepare(context, details));
    }

    void convertTo(const platform::SendableFile &made)
    {
        around.converter.behave([made](const QString &) { return made; });
    }

    Details expected(const QString &source, const QString &fallback) const
    {
        Details made = details;
        made.insert(QStringLiteral("upload_source"), source);
        made.insert(QStringLiteral("compression_fallback"), fallback);
        return made;
    }

    void expectFallBack(const QString &reason) const
    {
        const PreparedCandidate prepared = ready();
        Details wanted = expected(QStringLiteral("original"), QStringLiteral("true"));
        wanted.insert(QStringLiteral("compression_fallback_reason"), reason);
        EXPECT_EQ(prepared.details, wanted);
        EXPECT_EQ(prepared.uploadURL, QUrl::fromLocalFile(path));
        EXPECT_EQ(prepared.cleanupURL, std::nullopt);
    }
};

} // namespace

TEST_F(CandidatePreparerTest, SendsTheConvertedFileAndRemovesItAfterwards)
{
    const PreparedCandidate prepared = ready();

    EXPECT_EQ(prepared.details, expected(QStringLiteral("converted"), QStringLiteral("false")));
    EXPECT_TRUE(prepared.uploadURL.toLocalFile().endsWith(QStringLiteral("/converted/converted-1.2.3")));
    EXPECT_EQ(prepared.cleanupURL, prepared.uploadURL);
    preparer.cleanUp(prepared);
    EXPECT_EQ(around.leftovers(), 0);
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(CandidatePreparerTest, SendsTheOriginalWithoutConvertingWhenCompressionIsOff)
{
    const RunIdentity plain(QStringLiteral("RUN"), {.compressionEnabled = false}, QString());

    const CandidatePreparationResult result =
        CandidatePreparer(around.collaborators, plain).prepare(context, details);

    EXPECT_EQ(std::get<PreparedCandidate>(result).details,
              expected(QStringLiteral("original"), QStringLiteral("false")));
    EXPECT_EQ(around.converter.conversions(), 0);
}

TEST_F(CandidatePreparerTest, TakesTheInputPathForNothingToConvertAndNeverDeletesIt)
{
    convertTo(testing::FakeConverter::ready(path, path));

    const PreparedCandidate prepared = ready();

    EXPECT_EQ(prepared.details, expected(QStringLiteral("original"), QStringLiteral("false")));
    EXPECT_EQ(prepared.cleanupURL, std::nullopt);
    preparer.cleanUp(prepared);
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(CandidatePreparerTest, KnowsTheInputPathAlsoInAnotherSpelling)
{
    const QFileInfo file(path);
    platform::SendableFile made = testing::FakeConverter::ready(path, path);
    made.path = file.path() + QStringLiteral("/./x/../") + file.fileName();
    convertTo(made);

    const PreparedCandidate prepared = ready();

    EXPECT_EQ(prepared.details, expected(QStringLiteral("original"), QStringLiteral("false")));
    EXPECT_EQ(prepared.cleanupURL, std::nullopt);
}

TEST_F(CandidatePreparerTest, NeverDeletesAStoredFileWhateverIsToBeCleanedUp)
{
    const QFileInfo file(path);
    PreparedCandidate prepared = ready();
    prepared.cleanupURL = QUrl::fromLocalFile(file.path() + QStringLiteral("/../store/") + file.fileName());

    preparer.cleanUp(prepared);

    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(CandidatePreparerTest, FallsBackToTheOriginalWhenTheConvertedFileIsMissing)
{
    convertTo(testing::FakeConverter::ready(around.folder.filePath(QStringLiteral("nowhere")), path));

    expectFallBack(QStringLiteral("converted_file_missing"));
}

TEST_F(CandidatePreparerTest, FallsBackToTheOriginalWhenConversionFails)
{
    convertTo(testing::FakeConverter::failed(QStringLiteral("the words of the encoder")));

    expectFallBack(QStringLiteral("conversion_error"));
    EXPECT_TRUE(around.log.events().empty());
}

TEST_F(CandidatePreparerTest, FallsBackToTheOriginalWhenConversionGivesBlankTextAndNoError)
{
    convertTo(testing::FakeConverter::ready(QStringLiteral(" \n"), path));

    expectFallBack(QStringLiteral("empty_conversion_result"));
}

TEST_F(CandidatePreparerTest, SendsACopyWithARightHeaderInPlaceOfTheOriginalAndRemovesIt)
{
    const RunIdentity plain(QStringLiteral("RUN"), {.compressionEnabled = false}, QString());
    const CandidatePreparer uncompressed(around.collaborators, plain);
    around.converter.behaveUnconverted([this](const QString &source) {
        platform::SendableFile made = around.converter.write(source);
        made.isConverted = false;
        return made;
    });

    const auto prepared = std::get<PreparedCandidate>(uncompressed.prepare(context, details));

    EXPECT_EQ(prepared.details, expected(QStringLiteral("original"), QStringLiteral("false")));
    EXPECT_NE(prepared.uploadURL, QUrl::fromLocalFile(path));
    EXPECT_EQ(prepared.identity.instance, instanceUid("1.2.3"));
    uncompressed.cleanUp(prepared);
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(CandidatePreparerTest, TellsOfAnObjectThatNoAnswerCouldName)
{
    convertTo({.fate = platform::SendableFile::Fate::nameless});

    const CandidatePreparationResult result = preparer.prepare(context, details);

    EXPECT_EQ(std::get<StoreUpload::UnsendableFile>(result).failureClass,
              core::FailureClass::withoutIdentity);
    EXPECT_EQ(around.log.events().at(0).action, log::GatewayLogAction::uploadAttemptFailed);
}

TEST_F(CandidatePreparerTest, LeavesAFileThatHoldsAnotherImageThanItsRowsSay)
{
    StoreUpload::CandidateContext other = context;
    other.candidate.originalSOPInstanceUIDs = {instanceUid("1.2.3.4")};

    const CandidatePreparationResult result = preparer.prepare(other, details);

    ASSERT_TRUE(std::holds_alternative<StoreUpload::UnsendableFile>(result));
    EXPECT_EQ(std::get<StoreUpload::UnsendableFile>(result).failureClass,
              core::FailureClass::fileOfAnotherImage);
    EXPECT_EQ(around.log.events().at(0).details->value(QStringLiteral("unsendable_reason")),
              QStringLiteral("fileOfAnotherImage"));
}

TEST_F(CandidatePreparerTest, LeavesAFileThatIsNotWhatWasReceivedAnyMore)
{
    StoreUpload::CandidateContext changed = context;
    changed.candidate.contentVersion = 7;
    using Fate = platform::SendableFile::Fate;
    for (const Fate fate : {Fate::ready, Fate::nameless, Fate::failed}) {
        const platform::SendableFile made{.fate = fate, .path = path, .version = 8};
        convertTo(made);
        around.converter.behaveUnconverted([made](const QString &) { return made; });

        const CandidatePreparationResult result = preparer.prepare(changed, details);

        ASSERT_TRUE(std::holds_alternative<StoreUpload::UnsendableFile>(result));
        EXPECT_EQ(std::get<StoreUpload::UnsendableFile>(result).failureClass,
                  core::FailureClass::fileChanged);
    }
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(CandidatePreparerTest, SendsAFileThatIsWhatWasReceivedOrOfWhichNobodyKnows)
{
    for (const std::int64_t known : {7, 0}) {
        StoreUpload::CandidateContext same = context;
        same.candidate.contentVersion = known;
        convertTo({.fate = platform::SendableFile::Fate::ready, .path = path, .version = 7});

        const CandidatePreparationResult result = preparer.prepare(same, details);

        EXPECT_TRUE(std::holds_alternative<PreparedCandidate>(result)) << known;
    }
}

TEST_F(CandidatePreparerTest, TellsOfAFileThatCannotBeMadeReady)
{
    convertTo(testing::FakeConverter::failed(QStringLiteral("no worker")));
    around.converter.behaveUnconverted(
        [](const QString &) { return testing::FakeConverter::failed(QStringLiteral("no worker")); });

    const CandidatePreparationResult result = preparer.prepare(context, details);

    EXPECT_EQ(std::get<StoreUpload::UnsendableFile>(result).failureClass, core::FailureClass::fileUnreadable);
}

TEST_F(CandidatePreparerTest, BlamesNoFileForWhatThisMachineCannotDo)
{
    const auto withoutRoom = [](const QString &) {
        return platform::SendableFile{.fate = platform::SendableFile::Fate::machineTrouble,
                                      .error = QStringLiteral("no room")};
    };
    around.converter.behave(withoutRoom);
    EXPECT_EQ(std::get<PreparedCandidate>(preparer.prepare(context, details)).uploadURL,
              QUrl::fromLocalFile(path))
        << "what needs no other file goes as it is";

    around.converter.behaveUnconverted(withoutRoom);
    EXPECT_EQ(std::get<StoreUpload::UnsendableFile>(preparer.prepare(context, details)).failureClass,
              core::FailureClass::machineTrouble);
}

TEST_F(CandidatePreparerTest, TellsOfAFileThatIsMissing)
{
    ASSERT_TRUE(QFile::remove(path));

    const CandidatePreparationResult result = preparer.prepare(context, details);

    EXPECT_EQ(std::get<MissingFile>(result).details, details);
    const auto events = around.log.events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].action, log::GatewayLogAction::uploadCandidateFileMissing);
    EXPECT_EQ(events[0].level, log::GatewayLogLevel::warning);
    EXPECT_EQ(events[0].category, log::GatewayLogCategory::send);
    EXPECT_EQ(events[0].outcome, log::GatewayLogOutcome::failed);
    EXPECT_EQ(events[0].correlationId, QStringLiteral("RUN"));
    EXPECT_EQ(events[0].fileHash, log::hashedIdentifier(path));
    EXPECT_EQ(events[0].fileSizeBytes, std::nullopt);
    EXPECT_EQ(events[0].attempt, 1);
    EXPECT_EQ(events[0].details, details);
}

TEST_F(CandidatePreparerTest, TellsOfAFileThatGoesAwayDuringItsConversion)
{
    around.converter.behave([](const QString &source) {
        QFile::remove(source);
        return testing::FakeConverter::failed(QStringLiteral("gone"));
    });

    const CandidatePreparationResult result = preparer.prepare(context, details);

    Details wanted = expected(QStringLiteral("original"), QStringLiteral("true"));
    wanted.insert(QStringLiteral("compression_fallback_reason"), QStringLiteral("conversion_error"));
    EXPECT_EQ(std::get<MissingFile>(result).details, wanted);
    EXPECT_EQ(around.log.events().at(0).details, wanted);
}

TEST(ExistsAtURL, IsFalseWhereNothingStandsAndTrueWhereNobodyCanTell)
{
    const QTemporaryDir folder;
    const QString none = folder.filePath(QStringLiteral("none"));
    const QString circle = folder.filePath(QStringLiteral("circle"));
    ASSERT_TRUE(QFile::link(circle, circle));

    EXPECT_FALSE(exists(QUrl::fromLocalFile(none)));
    EXPECT_FALSE(exists(QUrl::fromLocalFile(none + QStringLiteral("/below"))));
    EXPECT_TRUE(exists(QUrl::fromLocalFile(circle)));
}

} // namespace gateway::upload
