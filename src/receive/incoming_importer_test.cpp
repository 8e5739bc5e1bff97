#include "receive/incoming_importer.h"

#include "log/writing/gateway_log_event.h"
#include "log/writing/redaction.h"
#include "receive/testing/receive_world.h"

#include <QtCore/QDir>
#include <QtCore/QUrl>

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

using log::GatewayLogAction;
using log::GatewayLogOutcome;
using testing::ReceiveWorld;
using Told = testing::RecordingReceiveObserver::Told;

class Importer : public ::testing::Test
{
protected:
    void SetUp() override { m_importer = make(); }

    std::shared_ptr<IncomingImporter> make()
    {
        return std::make_shared<IncomingImporter>(
            IncomingImporter::Collaborators{m_world.imports,
                                            m_world.emitter,
                                            m_world.observer,
                                            m_world.state,
                                            m_world.main,
                                            m_world.pool,
                                            m_world.clock,
                                            [this](const QString &reason) {
                                                EXPECT_EQ(reason, u"receive_import_succeeded"_qs);
                                                ++m_world.uploadRequests;
                                            },
                                            [this](const index::ImportedFileSummary &imported) {
                                                EXPECT_EQ(imported.storedFile, testing::FakeImports::kStored);
                                                return m_world.imports.isKept();
                                            }});
    }

    std::vector<GatewayLogAction> actions() const
    {
        std::vector<GatewayLogAction> actions;
        for (const auto &event : m_world.log.events()) {
            actions.push_back(event.action);
        }
        return actions;
    }

    ReceiveWorld m_world;
    std::shared_ptr<IncomingImporter> m_importer;
};

TEST_F(Importer, LogsTheWholeWayOfAFile)
{
    const QString path = m_world.receivedFile("DICM content");

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();

    EXPECT_EQ(actions(),
              (std::vector{GatewayLogAction::fileReceivedCallback,
                           GatewayLogAction::importAttempted,
                           GatewayLogAction::importSucceeded,
                           GatewayLogAction::incomingFileDeleted}));
    for (const auto &event : m_world.log.events()) {
        EXPECT_EQ(event.category, log::GatewayLogCategory::receive);
        EXPECT_EQ(event.assocHash, log::hashedIdentifier(u"A"_qs));
        EXPECT_EQ(event.fileHash, log::hashedFileURL(QUrl::fromLocalFile(path)));
    }
    EXPECT_EQ(m_world.log.events().front().fileSizeBytes, 12);
    EXPECT_EQ(m_world.observer.told(), (Told{.files = 1, .bytes = 12}));
}

TEST_F(Importer, NamesTheStoredFileWhereAnImportSucceedsAndNowhereElse)
{
    m_importer->fileArrived(m_world.receivedFile("DICM content"), u"A"_qs);
    m_world.settle();

    for (const auto &event : m_world.log.events()) {
        const auto details = event.details.value_or(QMap<QString, QString>());
        const bool isImport = event.action == GatewayLogAction::importSucceeded;
        EXPECT_EQ(details.contains(log::kStoredFileHashKey), isImport);
        EXPECT_TRUE(!isImport || details.value(log::kStoredFileHashKey) ==
                                     log::hashedFileURL(testing::FakeImports::kStored));
    }
    EXPECT_EQ(m_world.log.count(GatewayLogAction::importSucceeded), 1U);
}

TEST_F(Importer, TakesANonDicomFileOutOfTheInboxWithoutDeletingItOrAskingForAnUpload)
{
    const QString path = m_world.receivedFile("no image");

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();

    EXPECT_EQ(m_world.log.count(GatewayLogAction::importFailed), 1U);
    EXPECT_EQ(m_world.log.events(GatewayLogAction::incomingFileDeleted).front().outcome,
              GatewayLogOutcome::succeeded);
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(m_world.uploadRequests, 0);
    const QString aside = m_world.inbox() + u"/.rejected"_qs;
    ASSERT_EQ(ReceiveWorld::filesIn(aside).size(), 1);
    QFile kept(aside + u'/' + ReceiveWorld::filesIn(aside).front());
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "no image");
    EXPECT_EQ(m_world.observer.told(), (Told{.files = 1, .bytes = 8, .failedImports = 1}));
}

TEST_F(Importer, WarnsOfAFileThatCanNotBeTakenOutOfTheInboxAndLeavesItThere)
{
    const QString path = m_world.receivedFile("no image");
    QFile obstacle(m_world.inbox() + u"/.rejected"_qs);
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly)); // in the place of the folder

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();

    EXPECT_TRUE(QFile::exists(path));
    const auto removal = m_world.log.events(GatewayLogAction::incomingFileDeleted);
    ASSERT_EQ(removal.size(), 1U);
    EXPECT_EQ(removal.front().outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(removal.front().level, log::GatewayLogLevel::warning);
    ASSERT_TRUE(removal.front().error.has_value());
    EXPECT_NE(removal.front().error->code, 0);
    EXPECT_EQ(m_world.imports.attempts(), 1);
    EXPECT_FALSE(m_importer->awaitsRemoval(path)) << "it lies nowhere else";
}

TEST_F(Importer, KnowsWhatIsImportedAndOnlyToBeRemoved)
{
    QFile received(m_world.receivedFile("DICM"));
    EXPECT_FALSE(m_importer->awaitsRemoval(received.fileName()));

    m_importer->fileFound(received.fileName());
    m_world.settle();

    EXPECT_EQ(m_world.imports.attempts(), 1);
    EXPECT_FALSE(m_importer->awaitsRemoval(received.fileName())) << "it is gone";
    ASSERT_TRUE(received.open(QIODevice::WriteOnly)); // as if it could not be removed
    EXPECT_TRUE(m_importer->awaitsRemoval(received.fileName()));
}

TEST_F(Importer, TakesNoLinkForAFileThatTheNetworkDelivered)
{
    const QString link = m_world.inbox() + u"/quorin-00000000000000000000000000000000-2.dcm"_qs;
    ASSERT_TRUE(QFile::link(m_world.receivedFile("DICM"), link));

    m_importer->fileArrived(link, u"A"_qs);
    m_world.settle();

    EXPECT_EQ(m_world.imports.attempts(), 0);
    EXPECT_EQ(m_world.observer.told(), Told());
    const auto told = m_world.log.events(GatewayLogAction::fileReceivedCallback);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().outcome, GatewayLogOutcome::failed);
}

/// What couldn't leave the inbox for weeks may be the last copy when it can.
TEST_F(Importer, RemovesWhatWasImportedLongAgoOnlyWhileItIsKept)
{
    const QString path = m_world.receivedFile("DICM");
    const auto lookAgain = [&] {
        QFile again(path);
        EXPECT_TRUE(again.open(QIODevice::WriteOnly) && again.write("DICM") > 0);
        again.close();
        m_importer->fileFound(path);
        m_world.settle();
    };
    m_importer->fileFound(path);
    m_world.settle();
    ASSERT_FALSE(QFile::exists(path));

    lookAgain();
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(m_world.imports.attempts(), 1);

    m_world.imports.setKept(std::nullopt);
    lookAgain();
    EXPECT_TRUE(QFile::exists(path)) << "nobody knows";
    EXPECT_FALSE(m_importer->awaitsRemoval(path));
    EXPECT_EQ(m_world.imports.attempts(), 1);

    m_world.imports.setKept(false);
    EXPECT_FALSE(m_importer->awaitsRemoval(path)) << "it waits to be taken in";
    lookAgain();
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(m_world.imports.attempts(), 2);
}

TEST_F(Importer, TriesTheFilesOfOneFolderAgainWhileThoseOfAnotherHang)
{
    const QString dead = m_world.receivedFile("DICM of a share that dies");
    QTemporaryDir other;
    const QString sound = other.filePath(u"quorin-1.dcm"_qs);
    QFile file(sound);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("DICM of another folder") > 0);
    file.close();
    m_world.imports.setNoStorage(true);
    m_importer->fileArrived(dead, u"A"_qs);
    m_importer->fileArrived(sound, u"B"_qs);
    m_world.settle();
    m_world.imports.setNoStorage(false);
    m_world.imports.hold(dead);

    m_world.clock.waitForSleepers(2);
    m_world.clock.advance(IncomingImporter::kFirstPause);

    m_world.waitUntil([&sound] { return !QFile::exists(sound); });
    EXPECT_TRUE(QFile::exists(dead));
    m_world.imports.hold({});
    m_world.waitUntil([&dead] { return !QFile::exists(dead); });
}

TEST_F(Importer, KeepsAFileThatFoundNoStorageAndTriesItAgain)
{
    m_world.imports.setNoStorage(true);
    const QString path = m_world.receivedFile("DICM patient");

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();
    EXPECT_TRUE(QFile::exists(path));
    const auto kept = m_world.log.events(GatewayLogAction::incomingFileDeleted);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept.front().outcome, GatewayLogOutcome::skipped);
    m_world.imports.setNoStorage(false);
    m_world.clock.waitForSleepers(1);
    m_world.clock.advance(IncomingImporter::kFirstPause);
    m_world.imports.waitForAttempts(2);
    m_world.waitUntil([&] { return !QFile::exists(path); });

    EXPECT_TRUE(m_world.imports.holds("DICM patient"));
    m_world.waitUntil([&] { return m_world.uploadRequests == 1; });
    EXPECT_EQ(m_world.log.count(GatewayLogAction::fileReceivedCallback), 1U);
    EXPECT_EQ(m_world.state.receivedItems, 1);
}

TEST_F(Importer, TriesOneFileARoundWhileThereIsNoStorageAndPausesLongerEachTime)
{
    m_world.imports.setNoStorage(true);
    for (int number = 1; number <= 3; ++number) {
        m_importer->fileArrived(m_world.receivedFile("DICM " + QByteArray::number(number), number), u"A"_qs);
    }
    m_world.settle();
    ASSERT_EQ(m_world.imports.attempts(), 3);

    m_world.clock.waitForSleepers(1);
    m_world.clock.advance(std::chrono::seconds(30));
    m_world.imports.waitForAttempts(4);
    m_world.clock.waitForSleepers(1);
    m_world.clock.advance(std::chrono::seconds(59));
    m_world.clock.waitForSleepers(1);
    EXPECT_EQ(m_world.imports.attempts(), 4);
    m_world.imports.setNoStorage(false);
    m_world.clock.advance(std::chrono::seconds(1));
    m_world.waitUntil([&] { return m_world.uploadRequests == 3; });

    EXPECT_EQ(m_world.imports.attempts(), 7);
    EXPECT_TRUE(m_world.imports.holds("DICM 1"));
    EXPECT_TRUE(m_world.imports.holds("DICM 2"));
    EXPECT_TRUE(m_world.imports.holds("DICM 3"));
}

TEST_F(Importer, LosesNothingWhenTheProgramEndsBetweenAFailureAndItsRetry)
{
    m_world.imports.setNoStorage(true);
    const QString path = m_world.receivedFile("DICM survivor");
    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();

    m_importer = make(); // the next start of the program
    m_world.imports.setNoStorage(false);
    m_importer->fileFound(path);
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM survivor"));
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(Importer, PassesInSilenceOverAFoundFileThatHasGone)
{
    m_importer->fileFound(m_world.inbox() + u"/gone.dcm"_qs);
    m_world.settle();

    EXPECT_TRUE(m_world.log.events().empty());
}

TEST_F(Importer, TakesADeliveredFileThatIsOutOfSightWhenItIsFoundAgain)
{
    const QString path = m_world.receivedFile("DICM on a share");
    const QString away = m_world.inbox() + u"-away"_qs;
    ASSERT_TRUE(QDir().rename(m_world.inbox(), away));
    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();
    const auto removal = m_world.log.events(GatewayLogAction::incomingFileDeleted);
    ASSERT_EQ(removal.size(), 1U);
    EXPECT_EQ(removal.front().outcome, GatewayLogOutcome::skipped);
    EXPECT_EQ(removal.front().level, log::GatewayLogLevel::warning);
    ASSERT_TRUE(removal.front().details);
    EXPECT_EQ(removal.front().details->value(u"reason"_qs), u"out_of_sight"_qs);

    ASSERT_TRUE(QDir().rename(away, m_world.inbox()));
    m_importer->fileFound(path);
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM on a share"));
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(Importer, OffersAFoundFileAgainThatWasOutOfSightAtItsTurn)
{
    const QString path = m_world.receivedFile("DICM later");
    ASSERT_TRUE(QFile::rename(path, path + u".away"_qs));
    m_importer->fileFound(path);
    m_world.settle();
    ASSERT_TRUE(QFile::rename(path + u".away"_qs, path));

    m_importer->fileFound(path);
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM later"));
}

TEST_F(Importer, TriesAFileThatCannotBeReadAgainAndImportsItWhenItCan)
{
    m_world.imports.setUnreadable(2);
    const QString path = m_world.receivedFile("DICM behind a bad moment");

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();
    EXPECT_TRUE(QFile::exists(path));
    for (const int tries : {1, 2}) {
        m_world.clock.waitForSleepers(1);
        m_world.clock.advance(tries * IncomingImporter::kFirstPause);
        m_world.imports.waitForAttempts(tries + 1);
    }
    m_world.waitUntil([&] { return !QFile::exists(path); });

    EXPECT_TRUE(m_world.imports.holds("DICM behind a bad moment"));
    EXPECT_TRUE(ReceiveWorld::filesIn(m_world.inbox() + u"/.rejected"_qs).isEmpty());
}

TEST_F(Importer, SetsAFileAsideThatCouldNotBeReadForLongAndSaysWhy)
{
    m_world.imports.setUnreadable(IncomingImporter::kTriesInTrouble);
    const QString path = m_world.receivedFile("DICM on a bad sector");

    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();
    for (int tries = 1; tries < IncomingImporter::kTriesInTrouble; ++tries) {
        EXPECT_TRUE(QFile::exists(path)) << tries;
        m_world.clock.waitForSleepers(1);
        m_world.clock.advance(IncomingImporter::kLongestPause);
        m_world.imports.waitForAttempts(tries + 1);
    }
    m_world.waitUntil([&] {
        return m_world.log.count(GatewayLogAction::incomingFileDeleted) ==
               std::size_t{IncomingImporter::kTriesInTrouble};
    });

    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(ReceiveWorld::filesIn(m_world.inbox() + u"/.rejected"_qs).size(), 1);
    const auto last = m_world.log.events(GatewayLogAction::incomingFileDeleted).back();
    ASSERT_TRUE(last.details);
    EXPECT_EQ(last.details->value(u"disposition"_qs), u"set_aside"_qs);
    EXPECT_EQ(last.details->value(u"reason"_qs), u"could_not_be_read"_qs);
}

TEST_F(Importer, ImportsAFileThatCouldNotBePutAsideWhileItsDiskWasAway)
{
    m_world.imports.setUnreadable(IncomingImporter::kTriesInTrouble);
    const QString path = m_world.receivedFile("DICM on a share");
    QFile obstacle(m_world.inbox() + u"/.rejected"_qs);
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly)); // in the place of the folder
    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();
    for (int tries = 1; tries < IncomingImporter::kTriesInTrouble; ++tries) {
        m_world.clock.waitForSleepers(1);
        m_world.clock.advance(IncomingImporter::kLongestPause);
        m_world.imports.waitForAttempts(tries + 1);
    }
    m_world.waitUntil([&] {
        return m_world.log.count(GatewayLogAction::incomingFileDeleted) ==
               std::size_t{IncomingImporter::kTriesInTrouble};
    });
    m_world.waitUntil([&] {
        m_importer->fileFound(path); // as the watch offers it, when it is let go of
        m_world.settle();
        return !QFile::exists(path);
    });

    EXPECT_TRUE(m_world.imports.holds("DICM on a share"));
}

TEST_F(Importer, AFileInTroubleHoldsUpNoOtherOne)
{
    m_world.imports.setUnreadable(2);
    m_importer->fileArrived(m_world.receivedFile("DICM 1", 1), u"A"_qs);
    m_world.settle();
    m_importer->fileArrived(m_world.receivedFile("DICM 2", 2), u"A"_qs);
    m_world.settle();
    m_world.imports.setUnreadable(1);

    m_world.clock.waitForSleepers(1);
    m_world.clock.advance(IncomingImporter::kFirstPause);
    m_world.waitUntil([&] { return m_world.uploadRequests == 1; });

    EXPECT_TRUE(m_world.imports.holds("DICM 2"));
}

TEST_F(Importer, NeverImportsAFileAgainThatOnlyCouldNotBeRemoved)
{
    const QString path = m_world.receivedFile("no image");
    QFile obstacle(m_world.inbox() + u"/.rejected"_qs);
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly)); // in the place of the folder
    m_importer->fileArrived(path, u"A"_qs);
    m_world.settle();

    m_importer->fileFound(path);
    m_world.settle();
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(m_world.log.events(GatewayLogAction::incomingFileDeleted).size(), 1U)
        << "told once, not at each look";
    ASSERT_TRUE(obstacle.remove());
    m_importer->fileFound(path);
    m_world.settle();

    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(m_world.imports.attempts(), 1);
}

} // namespace
} // namespace gateway::receive
