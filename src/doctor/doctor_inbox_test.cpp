// What lies in the incoming folders, and whether it can be taken in.

#include "doctor/testing/doctor_world.h"
#include "log/writing/redaction.h"
#include "state/inbox_figures.h"

namespace gateway::doctor {

using index::testing::TemporaryIndex;
using testing::Counts;
using testing::DoctorTest;

TEST_F(DoctorTest, IsNotContentWithAReceivedImageThatWaitsForMinutes)
{
    const QString path = inbox() + QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-1.dcm");
    receive(path);
    EXPECT_EQ(counts(), (Counts{{FindingKind::waitsInInbox, {1, 0}}}));
    EXPECT_TRUE(examine().isWell());

    home.clock.advance(state::InboxFigures::kLongWait);

    EXPECT_EQ(counts(), (Counts{{FindingKind::waitsLongInInbox, {1, 0}}}));
    EXPECT_FALSE(examine().isWell());

    write(path); // its time is far ahead of the clock
    EXPECT_EQ(counts(), (Counts{{FindingKind::waitsLongInInbox, {1, 0}}}));
}

TEST_F(DoctorTest, TellsOfAFileStoreThatCannotBeWritten)
{
    write(home.fileStoreRoot() + QStringLiteral("/.incoming"));

    const Diagnosis diagnosis = examine();

    ASSERT_EQ(diagnosis.findings.size(), 1);
    EXPECT_EQ(diagnosis.findings.first().kind, FindingKind::storeNotWritten);
    EXPECT_EQ(diagnosis.findings.first().examples, (QList<FileName>{{home.fileStoreRoot(), {}, {}}}));
    EXPECT_FALSE(diagnosis.isWell());
}

TEST_F(DoctorTest, TellsWhatLiesInTheIncomingFolder)
{
    receive(inbox() + QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-1.dcm"));
    write(inbox() + QStringLiteral("/somebody's.txt"));
    write(inbox() + QStringLiteral("/.rejected/quorin-0123456789abcdef0123456789abcdef-2.dcm"));

    EXPECT_EQ(counts(true),
              (Counts{{FindingKind::waitsInInbox, {1, 0}}, {FindingKind::rejectedObject, {1, 0}}}));
}

TEST_F(DoctorTest, TakesInOnRequestWhatWasSetAsideAndCanBeReadByNow)
{
    const QString aside = inbox() + QStringLiteral("/.rejected/12345678-quorin-a-1.dcm");
    write(aside);
    index::testing::writeSyntheticFile(aside, TemporaryIndex::image(QStringLiteral("9.1")));

    EXPECT_EQ(counts(), (Counts{{FindingKind::rejectedObject, {1, 0}}}));
    EXPECT_EQ(counts(true), (Counts{{FindingKind::rejectedObject, {1, 1}}}));

    EXPECT_FALSE(QFileInfo::exists(aside));
    EXPECT_EQ(rows(), 1);
    EXPECT_TRUE(examine().findings.isEmpty());
}

TEST_F(DoctorTest, TellsAnImageThatWaitsFromOneThatWasTakenInAndCannotLeave)
{
    const QString takenIn = inbox() + QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-1.dcm");
    receive(takenIn);
    receive(inbox() + QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-2.dcm"));
    awaitsRemoval = [&takenIn](const QString &path) { return path == takenIn; };

    EXPECT_EQ(counts(),
              (Counts{{FindingKind::waitsInInbox, {1, 0}}, {FindingKind::notRemovedFromInbox, {1, 0}}}));

    EXPECT_FALSE(examine().isWell());
}

TEST_F(DoctorTest, LooksIntoTheIncomingFolderOfBeforeAsWell)
{
    folders.enter(inbox());
    settings.listenerDestinationFolder.set(home.path(QStringLiteral("chosen")));
    ASSERT_TRUE(QDir().mkpath(inbox() + QStringLiteral("/.part")));
    const QString aside =
        inbox() + QStringLiteral("/.rejected/12345678-quorin-0123456789abcdef0123456789abcdef-2.dcm");
    write(aside);
    index::testing::writeSyntheticFile(aside, TemporaryIndex::image(QStringLiteral("9.1")));
    receive(inbox() + QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-1.dcm"));

    EXPECT_EQ(counts(true),
              (Counts{{FindingKind::waitsInInbox, {1, 0}}, {FindingKind::rejectedObject, {1, 1}}}));

    EXPECT_EQ(rows(), 1);
}

TEST_F(DoctorTest, LeavesTheIncomingFolderOfAnotherGatewayAlone)
{
    ASSERT_TRUE(QDir().mkpath(inbox() + QStringLiteral("/.part")));
    const QString aside = inbox() + QStringLiteral("/.rejected/12345678-quorin-a-1.dcm");
    write(aside);
    index::testing::writeSyntheticFile(aside, TemporaryIndex::image(QStringLiteral("9.1")));
    platform::UserDefaults othersDefaults(home.path(QStringLiteral("others.sqlite")));
    core::Settings othersSettings(othersDefaults);
    receive::IncomingFolders others(othersDefaults, othersSettings, {inbox(), home.path(u"others"_qs)});
    ASSERT_TRUE(others.own(inbox()));

    EXPECT_EQ(counts(true), (Counts{{FindingKind::inboxInUse, {1, 0}}}));

    EXPECT_TRUE(QFileInfo::exists(aside));
    EXPECT_FALSE(examine().isWell());
}

TEST_F(DoctorTest, TellsOfAnIncomingFolderOfBeforeThatIsOutOfSight)
{
    const QString away = home.path(QStringLiteral("volume/Import"));
    ASSERT_EQ(folders.enter(away), std::nullopt);
    ASSERT_TRUE(QDir(away).removeRecursively());

    const Diagnosis diagnosis = examine(true);

    ASSERT_EQ(diagnosis.findings.size(), 1);
    EXPECT_EQ(diagnosis.findings.first().kind, FindingKind::formerInboxOutOfSight);
    EXPECT_EQ(diagnosis.findings.first().examples, (QList<FileName>{{away, {}, {}}}));
    EXPECT_FALSE(diagnosis.isWell());
}

TEST_F(DoctorTest, TellsOfTheIncomingFolderThatIsOutOfSight)
{
    ASSERT_EQ(folders.enter(inbox()), std::nullopt);
    ASSERT_TRUE(QDir().rename(inbox(), home.path(QStringLiteral("volume"))) && QDir().mkdir(inbox()));

    EXPECT_EQ(counts(true), (Counts{{FindingKind::inboxOutOfSight, {1, 0}}}));

    EXPECT_TRUE(QDir(inbox()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST_F(DoctorTest, TellsOfIncomingFoldersThatDoNotAnswerAndDoesNotAskThem)
{
    ASSERT_EQ(folders.enter(inbox()), std::nullopt);
    const QString aside = inbox() + QStringLiteral("/.rejected/12345678-quorin-a-1.dcm");
    write(aside);
    folders.setSilent(QString(), true);

    EXPECT_EQ(counts(), (Counts{{FindingKind::inboxOutOfSight, {1, 0}}}));

    folders.setSilent(QString(), false);
    EXPECT_EQ(counts(), (Counts{{FindingKind::rejectedObject, {1, 0}}}));
}

TEST_F(DoctorTest, LeavesWhatAHomeThatWasCopiedKnowsOfTheInboxOfItsOriginal)
{
    const QString original = home.path(QStringLiteral("original/Import"));
    receive::IncomingFolders others(defaults, settings, {original, home.path(QStringLiteral("original"))});
    ASSERT_EQ(others.enter(original), std::nullopt);
    const QString aside = original + QStringLiteral("/.rejected/12345678-quorin-a-1.dcm");
    write(aside);
    index::testing::writeSyntheticFile(aside, TemporaryIndex::image(QStringLiteral("9.1")));
    receive::IncomingFolders copied(defaults, settings, {inbox(), home.path(QStringLiteral("copy"))});

    const Diagnosis found =
        Doctor(home.index(), copied, emitter, home.clock, testing::nothingAwaitsRemoval).examine(true, {});

    ASSERT_EQ(found.findings.size(), 1);
    EXPECT_EQ(found.findings.first().kind, FindingKind::inboxOfAnotherHome);
    EXPECT_EQ(found.findings.first().examples, (QList<FileName>{{original, {}, {}}}));
    EXPECT_TRUE(QFileInfo::exists(aside));
}

TEST_F(DoctorTest, LeavesTheStoreOfAnotherGatewayAloneUntilAPersonTakesIt)
{
    importOne(QStringLiteral("9.1"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), home.path(QStringLiteral("away"))));
    put(QStringLiteral("10000/0.dcm"), QStringLiteral("99.1"));
    put(QStringLiteral("10000/1.dcm"), QStringLiteral("99.2"));

    EXPECT_EQ(counts(), (Counts{{FindingKind::anotherStore, {1, 0}}}));
    EXPECT_EQ(rows(), 1);

    EXPECT_EQ(counts(true).value(FindingKind::anotherStore), std::make_pair(qint64{1}, qint64{1}));
    EXPECT_FALSE(counts().contains(FindingKind::anotherStore));
    EXPECT_EQ(filesInStore().size(), 2);
}

TEST_F(DoctorTest, LogsWhatItTakesInUnderTheNameThatTheLogKnows)
{
    using log::GatewayLogAction;
    const QString aside =
        inbox() + QStringLiteral("/.rejected/12345678-quorin-0123456789abcdef0123456789abcdef-2.dcm");
    write(aside);
    counts(true);
    index::testing::writeSyntheticFile(aside, TemporaryIndex::image(QStringLiteral("9.1")));

    counts(true);

    std::vector<GatewayLogAction> actions;
    for (const log::GatewayLogEvent &event : logged.events()) {
        actions.push_back(event.action);
        EXPECT_EQ(event.fileHash,
                  log::hashedIdentifier(inbox() +
                                        QStringLiteral("/quorin-0123456789abcdef0123456789abcdef-2.dcm")));
        EXPECT_EQ(event.details->value(QStringLiteral("trigger")), QStringLiteral("doctor"));
    }
    EXPECT_EQ(actions,
              (std::vector{GatewayLogAction::importAttempted,
                           GatewayLogAction::importFailed,
                           GatewayLogAction::importAttempted,
                           GatewayLogAction::importSucceeded,
                           GatewayLogAction::incomingFileDeleted}));
    const QString stored = home.rows(QStringLiteral("SELECT pathString FROM DicomImage")).value(0);
    EXPECT_EQ(logged.events().back().details->value(QStringLiteral("stored_file_hash")),
              log::hashedFileURL(home.index().fileURL(stored)));
}

TEST_F(DoctorTest, RemovesOnRequestWhatADeletionHadToLeave)
{
    const QString path = importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Study;"
                                "INSERT INTO PendingRemoval VALUES ('%1')")
                     .arg(path));

    EXPECT_EQ(counts(), (Counts{{FindingKind::waitsForRemoval, {1, 0}}}));
    EXPECT_EQ(counts(true), (Counts{{FindingKind::waitsForRemoval, {1, 1}}}));

    EXPECT_FALSE(QFileInfo::exists(pathOf(path)));
    EXPECT_TRUE(examine().findings.isEmpty());
}

} // namespace gateway::doctor
