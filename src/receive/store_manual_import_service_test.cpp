#include "receive/store_manual_import_service.h"

#include "index/testing/temporary_index.h"
#include "receive/testing/manual_import_world.h"

#include <QtCore/QRegularExpression>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway::receive {
namespace {

using log::GatewayLogAction;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;
using testing::ArchiveContents;
using testing::archiveOf;
using testing::ManualImportWorld;
using Details = QMap<QString, QString>;

class ManualImport : public ::testing::Test
{
protected:
    /// The one record of an action.
    log::GatewayLogEvent only(GatewayLogAction action) const
    {
        const auto found = m_world.log.events(action);
        EXPECT_EQ(found.size(), 1U);
        return found.empty() ? log::GatewayLogEvent() : found.front();
    }

    static qint64 skippedFor(const ManualImportReport &report, SkipReason reason)
    {
        return report.skipped.value(reason).count;
    }

    ManualImportWorld m_world;
};

TEST_F(ManualImport, AnEmptySelectionWritesNoRecordAtAll)
{
    EXPECT_TRUE(m_world.begin({}).isEmpty());

    EXPECT_TRUE(m_world.log.events().empty());
}

TEST_F(ManualImport, ABlankTriggerIsLoggedAsManualUpload)
{
    m_world.import({m_world.source(u"a.dcm"_qs, "DICM a")}, u" \t "_qs);

    EXPECT_EQ(only(GatewayLogAction::importAttempted).details->value(u"trigger"_qs), u"manual_upload"_qs);
    EXPECT_EQ(m_world.uploadRequests(), QStringList{u"manual_upload_import_succeeded"_qs});
}

TEST_F(ManualImport, LogsTheBeginningAndOneSummaryAndAsksForOneUpload)
{
    const QString folder = m_world.sources();
    m_world.source(u"a.dcm"_qs, "DICM a");
    m_world.source(u"s/b.dcm"_qs, "DICM b");
    m_world.source(u"s/readme.txt"_qs, "no image");

    const QString batch = m_world.begin({folder}, u" drag_drop "_qs);
    m_world.awaitEnd(batch);

    const auto attempted = only(GatewayLogAction::importAttempted);
    EXPECT_EQ(attempted.level, GatewayLogLevel::info);
    EXPECT_EQ(attempted.category, log::GatewayLogCategory::receive);
    EXPECT_EQ(attempted.outcome, GatewayLogOutcome::started);
    EXPECT_EQ(attempted.details,
              (Details{{u"trigger"_qs, u"drag_drop"_qs}, {u"selected_items"_qs, u"1"_qs}}));
    const auto succeeded = only(GatewayLogAction::importSucceeded);
    EXPECT_EQ(succeeded.level, GatewayLogLevel::info);
    EXPECT_EQ(succeeded.category, log::GatewayLogCategory::receive);
    EXPECT_EQ(succeeded.outcome, GatewayLogOutcome::completed);
    EXPECT_EQ(succeeded.details,
              (Details{{u"trigger"_qs, u"drag_drop"_qs},
                       {u"selected_items"_qs, u"1"_qs},
                       {u"candidate_files"_qs, u"3"_qs},
                       {u"imported_files"_qs, u"2"_qs},
                       {u"skipped_files"_qs, u"1"_qs}}));
    EXPECT_EQ(attempted.correlationId, batch);
    EXPECT_EQ(succeeded.correlationId, batch);
    EXPECT_EQ(m_world.log.events().size(), 2U);
    EXPECT_EQ(m_world.uploadRequests(), QStringList{u"drag_drop_import_succeeded"_qs});
    EXPECT_EQ(m_world.refreshes, 1);
    EXPECT_EQ(m_world.observer.told().failedImports, 0);
}

TEST_F(ManualImport, SelectingAFolderAndAFileInsideItImportsTheFileOnce)
{
    const QString file = m_world.source(u"s/a.dcm"_qs, "DICM a");
    QFile::link(file, m_world.path(u"link.dcm"_qs));

    const auto report = m_world.import({m_world.sources(), file, m_world.path(u"link.dcm"_qs)});

    EXPECT_EQ(report.candidateFiles, 1);
    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_EQ(report.selectedItems, 3);
    EXPECT_EQ(m_world.imports.attempts(), 1);
}

TEST_F(ManualImport, AFolderThatHoldsASymbolicLinkToItselfEnds)
{
    m_world.source(u"s/a.dcm"_qs, "DICM a");
    QFile::link(m_world.sources(), m_world.sources() + u"/s/loop"_qs);

    const auto report = m_world.import({m_world.sources()});

    EXPECT_EQ(report.candidateFiles, 1);
    EXPECT_EQ(report.importedFiles, 1);
}

TEST_F(ManualImport, AZipInsideAZipIsOpened)
{
    const QByteArray inner = archiveOf({{u"deep/a.dcm"_qs, "DICM inner"}});
    const QString zip = m_world.source(
        u"outer.zip"_qs,
        archiveOf({{u"inner.zip"_qs, inner}, {u"b.dcm"_qs, "DICM outer"}, {u"c.txt"_qs, "text"}}));

    const auto report = m_world.import({zip});

    EXPECT_TRUE(m_world.imports.holds("DICM inner"));
    EXPECT_TRUE(m_world.imports.holds("DICM outer"));
    EXPECT_EQ(report.candidateFiles, 3);
    EXPECT_EQ(report.importedFiles, 2);
    EXPECT_EQ(report.skippedFiles, 1);
    EXPECT_EQ(report.skipped.value(SkipReason::notDicom).examples, QStringList{zip});
    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList());
    EXPECT_TRUE(QFile::exists(zip));
}

TEST_F(ManualImport, AZipWithAnUpperCaseExtensionIsAnArchiveAsWell)
{
    const auto report = m_world.import({m_world.source(u"A.ZIP"_qs, archiveOf({{u"a.dcm"_qs, "DICM a"}})),
                                        m_world.source(u"B.Rar"_qs, archiveOf({{u"b.dcm"_qs, "DICM b"}})),
                                        m_world.source(u".zip"_qs, "DICM a hidden file, no archive")});

    EXPECT_EQ(report.importedFiles, 3);
    EXPECT_TRUE(m_world.imports.holds("DICM a"));
    EXPECT_TRUE(m_world.imports.holds("DICM b"));
}

TEST_F(ManualImport, AnArchiveThatFailsToUnpackSelectedAloneIsSkippedAndGivesTheNoFilesFoundRecord)
{
    const QString zip = m_world.source(u"bad.zip"_qs, "damaged");

    const auto report = m_world.import({zip});

    EXPECT_EQ(report.candidateFiles, 0);
    EXPECT_EQ(report.skippedFiles, 1);
    EXPECT_EQ(skippedFor(report, SkipReason::damagedArchive), 1);
    const auto failed = only(GatewayLogAction::importFailed);
    EXPECT_EQ(failed.level, GatewayLogLevel::warning);
    EXPECT_EQ(failed.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(failed.details,
              (Details{{u"trigger"_qs, u"drag_drop"_qs},
                       {u"selected_items"_qs, u"1"_qs},
                       {u"candidate_files"_qs, u"0"_qs},
                       {u"reason"_qs, u"no_files_found"_qs}}));
    EXPECT_EQ(m_world.refreshes, 0);
    EXPECT_TRUE(m_world.uploadRequests().isEmpty());
    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList());
    EXPECT_EQ(m_world.observer.told().failedImports, 1);
}

TEST_F(ManualImport, AFileThatIsNoDicomIsSkippedAndStaysInPlace)
{
    const QString file = m_world.source(u"letter.txt"_qs, "no image");

    const auto report = m_world.import({file});

    EXPECT_EQ(report.skippedFiles, 1);
    EXPECT_EQ(skippedFor(report, SkipReason::notDicom), 1);
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_EQ(only(GatewayLogAction::importFailed).details,
              (Details{{u"trigger"_qs, u"drag_drop"_qs},
                       {u"selected_items"_qs, u"1"_qs},
                       {u"candidate_files"_qs, u"1"_qs},
                       {u"imported_files"_qs, u"0"_qs},
                       {u"skipped_files"_qs, u"1"_qs},
                       {u"reason"_qs, u"no_dicom_detected"_qs}}));
    EXPECT_EQ(m_world.refreshes, 1);
    EXPECT_TRUE(m_world.uploadRequests().isEmpty());
    EXPECT_EQ(m_world.observer.told().failedImports, 1);
}

TEST(ManualImportIntoTheIndex, AFileImportedTwiceInTwoBatchesFollowsTheDuplicateRule)
{
    index::testing::TemporaryIndex home;
    index::DBService imports(home.index(), index::ImportSource::foreign);
    ManualImportWorld world(&imports);
    const QString source = home.file(index::testing::TemporaryIndex::image(u"1.2.3"_qs)).toLocalFile();

    world.import({source});
    const QStringList first = home.rows(u"SELECT pathString FROM DicomImage"_qs);
    home.execute(u"UPDATE DicomImage SET syncState = 1"_qs);
    world.import({source});

    const QStringList second = home.rows(u"SELECT pathString FROM DicomImage"_qs);
    ASSERT_EQ(first.size(), 1);
    ASSERT_EQ(second.size(), 1);
    EXPECT_NE(first, second);
    EXPECT_EQ(home.number(u"SELECT syncState FROM DicomImage"_qs), 0);
    EXPECT_FALSE(QFile::exists(home.fileStoreRoot() + u"/"_qs + first.front())); // the same bytes
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + u"/"_qs + second.front()));
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ManualImport, CountsHiddenFilesAndPassesOverSpecialFilesAndMissingOnes)
{
    m_world.source(u".hidden"_qs, "DICM hidden");
    ASSERT_EQ(::mkfifo(QFile::encodeName(m_world.sources() + u"/pipe"_qs).constData(), S_IRUSR | S_IWUSR), 0);
    QFile::link(u"/nowhere/at/all"_qs, m_world.sources() + u"/dangling"_qs);

    const auto report = m_world.import({m_world.sources(), m_world.path(u"missing.dcm"_qs)});

    EXPECT_EQ(report.candidateFiles, 4);
    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_EQ(skippedFor(report, SkipReason::specialFile), 1);
    EXPECT_EQ(skippedFor(report, SkipReason::unreadable), 2);
    EXPECT_TRUE(report.mayMissImages());
}

TEST_F(ManualImport, ImportsAFileWhoseNameIsNoUtf8)
{
    const QByteArray name = QFile::encodeName(m_world.sources()) + "/M\xfcller.dcm";
    ASSERT_EQ(
        ::rename(QFile::encodeName(m_world.source(u"a"_qs, "DICM latin")).constData(), name.constData()), 0);

    const auto report = m_world.import({m_world.sources()});

    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_TRUE(m_world.imports.holds("DICM latin"));
    EXPECT_EQ(::unlink(name.constData()), 0) << "the source is gone";
    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList());
}

TEST_F(ManualImport, TellsApartWhyFilesWerePassedOver)
{
    m_world.availableBytes = ManualImportBatch::kReserveBytes + 100;

    const auto report = m_world.import({m_world.source(u"large.dcm"_qs, "DICM" + QByteArray(200, 'x')),
                                        m_world.source(u"locked.zip"_qs, "LOCKED"),
                                        m_world.source(u"a.dcm"_qs, "DICM a")});

    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_EQ(skippedFor(report, SkipReason::storage), 1);
    EXPECT_EQ(skippedFor(report, SkipReason::protectedArchive), 1);
    EXPECT_EQ(m_world.imports.attempts(), 1);
}

TEST_F(ManualImport, BlamesTheStorageForAnImportThatFoundNone)
{
    m_world.imports.setNoStorage(true);

    const auto report = m_world.import({m_world.source(u"a.dcm"_qs, "DICM a")});

    EXPECT_EQ(skippedFor(report, SkipReason::storage), 1);
    EXPECT_TRUE(report.mayMissImages());
}

TEST_F(ManualImport, OpensArchivesInArchivesUpToADepth)
{
    QByteArray nested = archiveOf({{u"a.dcm"_qs, "DICM too deep"}});
    for (int depth = 0; depth < ManualImportBatch::kDeepestArchive; ++depth) {
        nested = archiveOf(
            {{u"nested.zip"_qs, nested}, {u"%1.dcm"_qs.arg(depth), "DICM " + QByteArray::number(depth)}});
    }

    const auto report = m_world.import({m_world.source(u"outer.zip"_qs, nested)});

    EXPECT_EQ(report.importedFiles, ManualImportBatch::kDeepestArchive);
    EXPECT_EQ(skippedFor(report, SkipReason::nestedTooDeep), 1);
    EXPECT_FALSE(m_world.imports.holds("DICM too deep"));
}

TEST_F(ManualImport, ArchivesInOneArchiveShareItsLimits)
{
    const QByteArray inner = archiveOf({{u"a.dcm"_qs, "DICM 1234"}, {u"b.dcm"_qs, "DICM 56"}});
    m_world.import({m_world.source(u"outer.zip"_qs, archiveOf({{u"inner.zip"_qs, inner}}))});

    const platform::ArchiveLimits &inside = m_world.unpacking.lastLimits;
    EXPECT_EQ(inside.entries, ManualImportBatch::kMostEntries - 1);
    EXPECT_EQ(inside.bytes, ManualImportBatch::kAlwaysAllowedBytes - inner.size());
    EXPECT_EQ(inside.reserveBytes, ManualImportBatch::kReserveBytes);
}

TEST_F(ManualImport, UnpacksACopyInATemporaryRootOfTheNamedForm)
{
    m_world.import({m_world.source(u"A.ZIP"_qs, archiveOf({{u"a.dcm"_qs, "DICM a"}}))});

    const QString relative = QDir(m_world.temporaryFolder()).relativeFilePath(m_world.unpacking.lastArchive);
    EXPECT_TRUE(QRegularExpression(u"^QuorinGatewayManualImport-[0-9A-F-]{36}/input\\.zip$"_qs)
                    .match(relative)
                    .hasMatch())
        << relative.toStdString();
}

TEST_F(ManualImport, AStopKeepsWhatIsImportedAndSaysSo)
{
    for (int number = 0; number < 5; ++number) {
        m_world.source(u"%1.zip"_qs.arg(number),
                       archiveOf({{u"a.dcm"_qs, "DICM " + QByteArray::number(number)}}));
    }
    QString batch;
    std::atomic<bool> isKnown = false;
    int unpacked = 0;
    m_world.unpacking.onEntry = [&](const std::stop_token &) {
        while (!isKnown) {
            std::this_thread::yield();
        }
        if (++unpacked == 2) {
            m_world.service->stop(batch);
        }
    };

    batch = m_world.begin({m_world.sources()});
    isKnown = true;
    const auto report = m_world.awaitEnd(batch);

    EXPECT_TRUE(report.stopped);
    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_TRUE(m_world.imports.holds("DICM 4"));
    EXPECT_EQ(only(GatewayLogAction::importSucceeded).details->value(u"reason"_qs), u"stopped"_qs);
    EXPECT_EQ(m_world.uploadRequests().size(), 1);
    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList());
}

TEST_F(ManualImport, ABatchThatIsStoppedBeforeItsFirstFileHasFailedAsStopped)
{
    m_world.source(u"1.zip"_qs, archiveOf({{u"a.dcm"_qs, "DICM a"}}));
    QString waiting;
    std::atomic<bool> isStopped = false;
    m_world.unpacking.onEntry = [&](const std::stop_token &) {
        while (!isStopped) {
            std::this_thread::yield();
        }
    };
    m_world.begin({m_world.sources()});
    waiting = m_world.begin({m_world.source(u"b.dcm"_qs, "DICM b")});

    m_world.service->stop(waiting);
    m_world.service->stop(u"unknown"_qs);
    isStopped = true;
    const auto report = m_world.awaitEnd(waiting);

    EXPECT_TRUE(report.stopped);
    EXPECT_EQ(report.importedFiles, 0);
    EXPECT_EQ(only(GatewayLogAction::importFailed).details->value(u"reason"_qs), u"stopped"_qs);
}

TEST_F(ManualImport, AStopThatComesAfterTheLastFileChangesNothing)
{
    const QString batch = m_world.begin({m_world.source(u"a.dcm"_qs, "DICM a")});
    m_world.awaitEnd(batch);

    m_world.service->stop(batch);

    EXPECT_FALSE(m_world.service->report(batch)->stopped);
}

TEST_F(ManualImport, PassesOverTheGatewaysOwnFoldersUnlessTheyWereChosen)
{
    QDir().mkpath(m_world.path(u"own/10000"_qs));
    ASSERT_TRUE(QFile::copy(m_world.source(u"a.dcm"_qs, "DICM kept"), m_world.path(u"own/10000/1.dcm"_qs)));

    const auto around = m_world.import({m_world.path(QString())});
    const auto chosen = m_world.import({m_world.path(u"own"_qs)});

    EXPECT_EQ(around.importedFiles, 1);
    EXPECT_EQ(chosen.importedFiles, 1);
}

TEST_F(ManualImport, TellsItsProgressAndWhatIsLeft)
{
    m_world.source(u"a.dcm"_qs, "DICM 1234567890");
    m_world.source(u"z.zip"_qs, archiveOf({{u"b.dcm"_qs, "DICM b"}}));
    std::optional<ManualImportReport> during;
    QString batch;
    std::atomic<bool> isKnown = false;
    m_world.unpacking.onEntry = [&](const std::stop_token &) {
        while (!isKnown) {
            std::this_thread::yield();
        }
        m_world.clock.advance(std::chrono::seconds(2));
        during = m_world.service->report(batch);
    };

    batch = m_world.begin({m_world.sources()});
    isKnown = true;
    const auto report = m_world.awaitEnd(batch);

    ASSERT_TRUE(during.has_value());
    EXPECT_EQ(during->phase, ManualImportReport::Phase::unpacking);
    EXPECT_EQ(during->knownFiles, 2);
    EXPECT_EQ(during->doneFiles, 0);
    EXPECT_FALSE(during->timeLeft().has_value());
    EXPECT_EQ(report.doneFiles, 3);
    EXPECT_EQ(report.knownFiles, 3);
    EXPECT_EQ(report.doneBytes, report.knownBytes);
    EXPECT_DOUBLE_EQ(report.bytesPerSecond(), static_cast<double>(report.doneBytes) / 2);
    EXPECT_EQ(report.timeLeft(), std::chrono::seconds(0));
}

TEST_F(ManualImport, ThePanelSaysAndAllowsWhatItShould)
{
    m_world.service->presentImportPanel();

    ASSERT_EQ(m_world.panel.requests.size(), 1U);
    const ImportPanelRequest &request = m_world.panel.requests.front();
    EXPECT_EQ(request.title, u"Import DICOM Files"_qs);
    EXPECT_EQ(request.message, u"Select files and folders to import DICOM files."_qs);
    EXPECT_EQ(request.confirmButton, u"Import"_qs);
    EXPECT_TRUE(request.allowsFiles && request.allowsDirectories && request.allowsMultipleSelection);
    EXPECT_TRUE(request.resolvesAliases && request.treatsFilePackagesAsDirectories);
    EXPECT_FALSE(request.canCreateDirectories);
    EXPECT_TRUE(m_world.log.events().empty());
}

TEST_F(ManualImport, WhatThePanelConfirmsIsAManualUpload)
{
    const QString file = m_world.source(u"a.dcm"_qs, "DICM a");
    m_world.service->presentImportPanel();

    m_world.panel.confirm({QUrl::fromLocalFile(file)});

    const auto attempted = only(GatewayLogAction::importAttempted);
    EXPECT_EQ(attempted.details->value(u"trigger"_qs), u"manual_upload"_qs);
    m_world.awaitEnd(*attempted.correlationId);
    EXPECT_TRUE(m_world.imports.holds("DICM a"));
}

TEST_F(ManualImport, WhoObservesBatchesIsToldOfEachWhoeverAskedForIt)
{
    QStringList told;
    auto observation = m_world.service->observeBatches([&](const QString &batch) { told.append(batch); });
    EXPECT_EQ(told, QStringList());

    const QString first = m_world.begin({m_world.source(u"a.dcm"_qs, "DICM a")});
    EXPECT_EQ(told, QStringList{first});

    observation.reset();
    m_world.awaitEnd(m_world.begin({m_world.source(u"b.dcm"_qs, "DICM b")}));
    EXPECT_EQ(told, QStringList{first}) << "nobody listens any more";
}

TEST_F(ManualImport, WhoObservesLateIsToldOfWhatIsNotOver)
{
    m_world.import({m_world.source(u"a.dcm"_qs, "DICM a")});
    m_world.source(u"held/b.zip"_qs, archiveOf({{u"b.dcm"_qs, "DICM b"}}));
    std::atomic<bool> mayGoOn = false;
    m_world.unpacking.onEntry = [&](const std::stop_token &) {
        while (!mayGoOn) {
            std::this_thread::yield();
        }
    };
    const QString underWay = m_world.begin({m_world.sources() + u"/held"_qs});
    QStringList told;

    const auto observation =
        m_world.service->observeBatches([&](const QString &batch) { told.append(batch); });

    EXPECT_EQ(told, QStringList{underWay});
    mayGoOn = true;
    m_world.awaitEnd(underWay);
}

TEST_F(ManualImport, APanelThatOutlivesTheServiceDoesNothing)
{
    m_world.service->presentImportPanel();
    m_world.service.reset();

    m_world.panel.confirm({QUrl::fromLocalFile(m_world.source(u"a.dcm"_qs, "DICM a"))});

    EXPECT_TRUE(m_world.log.events().empty());
}

TEST_F(ManualImport, TheNextStartSweepsWhatACrashLeftBehind)
{
    m_world.service.reset();
    QDir().mkpath(m_world.temporaryFolder() + u"/QuorinGatewayManualImport-LEFT/extracted/deep"_qs);
    QDir().mkpath(m_world.temporaryFolder() + u"/converted"_qs);

    m_world.start();
    m_world.import({m_world.source(u"a.dcm"_qs, "DICM a")});

    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList{u"converted"_qs});
}

TEST_F(ManualImport, GoingEndsTheBatchUnderWayBetweenTwoFilesAndForgetsTheNext)
{
    for (int number = 0; number < 3; ++number) {
        m_world.source(u"%1.zip"_qs.arg(number),
                       archiveOf({{u"a.dcm"_qs, "DICM " + QByteArray::number(number)}}));
    }
    std::atomic<bool> isUnpacking = false;
    m_world.unpacking.onEntry = [&](const std::stop_token &stop) {
        isUnpacking = true;
        while (!stop.stop_requested()) {
            std::this_thread::yield();
        }
    };
    m_world.begin({m_world.sources()});
    m_world.begin({m_world.source(u"../later.dcm"_qs, "DICM later")});
    while (!isUnpacking) {
        std::this_thread::yield();
    }

    m_world.service.reset();

    EXPECT_FALSE(m_world.imports.holds("DICM later"));
    EXPECT_FALSE(m_world.imports.holds("DICM 0"));
    EXPECT_EQ(m_world.leftInTemporaryFolder(), QStringList());
}

} // namespace
} // namespace gateway::receive
