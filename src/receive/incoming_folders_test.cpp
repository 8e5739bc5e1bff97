#include "receive/incoming_folders.h"

#include "platform/sqlite/database.h"
#include "receive/inbox.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

const QString kComplete = QStringLiteral("quorin-0123456789abcdef0123456789abcdef-1.dcm");
const QString kUnfinished = QStringLiteral(".part/quorin-0123456789abcdef0123456789abcdef-2.part");

class Folders : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.filePath(name); }

    /// An inbox, as a listener makes it.
    QString inbox(const QString &name) const
    {
        EXPECT_TRUE(QDir().mkpath(path(name) + u"/.part"_qs));
        return path(name);
    }

    static QString write(const QString &path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return path;
    }

    void choose(const QString &folder) { m_settings.listenerDestinationFolder.set(folder); }

    /// A listener worked in `former` before `present` was chosen.
    void moveFrom(const QString &former, const QString &present)
    {
        m_folders.enter(former);
        choose(present);
        m_folders.enter(present);
    }

    /// Looks into each folder. \return those from which a gateway may take what lies there.
    static QStringList owned(IncomingFolders &folders)
    {
        QList<IncomingFolders::Sight> sights{folders.lookAtPresent()};
        for (const QString &known : folders.known()) {
            sights.append(folders.lookAt(known));
        }
        QStringList owned;
        for (const IncomingFolders::Sight &sight : std::as_const(sights)) {
            if (sight.mayTake) {
                owned.append(sight.folder);
            }
        }
        return owned;
    }

    void forgetTwice()
    {
        owned(m_folders);
        owned(m_folders);
    }

    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{path(u"defaults.sqlite"_qs)};
    core::Settings m_settings{m_defaults};
    const QString m_former = inbox(u"Import"_qs);
    const QString m_chosen = inbox(u"chosen"_qs);
    IncomingFolders m_folders{m_defaults, m_settings, {m_former, m_home.path()}};
};

TEST_F(Folders, AreTheOneOfTheSettingsAsLongAsNoOtherWasUsed)
{
    EXPECT_EQ(m_folders.all(), QStringList{m_former});
    m_folders.enter(m_former);

    EXPECT_EQ(m_folders.all(), QStringList{m_former});
}

TEST_F(Folders, HoldTheFormerOneWhenAnotherIsChosen)
{
    moveFrom(m_former, m_chosen);

    EXPECT_EQ(m_folders.all(), (QStringList{m_chosen, m_former}));
}

TEST_F(Folders, KnowTheFormerOneThoughAnotherWasChosenWhileNothingRan)
{
    m_folders.enter(m_former);
    choose(m_chosen);

    const IncomingFolders afterwards(m_defaults, m_settings, {m_former, m_home.path()});

    EXPECT_EQ(afterwards.all(), (QStringList{m_chosen, m_former}));
}

TEST_F(Folders, LetGoOfAFormerOneThatTwoLooksFindEmpty)
{
    moveFrom(m_former, m_chosen);
    write(m_former + u"/somebody's.txt"_qs);

    owned(m_folders);
    EXPECT_EQ(m_folders.former(), QStringList{m_former}) << "an association may still finish its object";
    owned(m_folders);

    EXPECT_EQ(m_folders.former(), QStringList());
    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, {m_former, m_home.path()}).former(), QStringList());
}

TEST_F(Folders, KeepAFormerOneAsLongAsSomethingLiesThere)
{
    moveFrom(m_former, m_chosen);
    ASSERT_TRUE(QDir().mkpath(setAsideFolder(m_former)));
    for (const QString &name : {kComplete, kUnfinished, u".rejected/01234567-"_qs + kComplete}) {
        const QString file = write(m_former + u'/' + name);
        forgetTwice();
        EXPECT_EQ(m_folders.former(), QStringList{m_former}) << name.toStdString();
        ASSERT_TRUE(QFile::remove(file));
    }
    forgetTwice();

    EXPECT_EQ(m_folders.former(), QStringList());
}

TEST_F(Folders, KeepAFormerOneThatIsOutOfSight)
{
    moveFrom(m_former, m_chosen);
    const QString away = path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_former, away));

    forgetTwice();
    EXPECT_EQ(m_folders.former(), QStringList{m_former});
    ASSERT_TRUE(QDir().mkdir(m_former)); // as where a volume isn't mounted
    forgetTwice();
    EXPECT_EQ(m_folders.former(), QStringList{m_former});
    ASSERT_TRUE(QDir().rmdir(m_former) && QDir().rename(away, m_former));
    forgetTwice();

    EXPECT_EQ(m_folders.former(), QStringList());
}

TEST_F(Folders, MakeNothingWhereOneThatWasUsedIsOutOfSight)
{
    ASSERT_EQ(m_folders.enter(m_former), std::nullopt);
    const QString away = path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_former, away));

    for (const bool isMountPoint : {false, true}) {
        ASSERT_TRUE(!isMountPoint || QDir().mkdir(m_former));
        IncomingFolders afterwards(m_defaults, m_settings, {m_former, m_home.path()});
        EXPECT_TRUE(afterwards.enter(m_former).value_or(QString()).inEnglish().contains(
            u"can't be seen at "_qs + m_former));
        EXPECT_EQ(owned(afterwards), QStringList{m_former});
        EXPECT_EQ(afterwards.outOfSight(), QStringList{m_former});
        EXPECT_EQ(QDir(m_former).exists(), isMountPoint);
        EXPECT_FALSE(QDir(m_former + u"/.part"_qs).exists());
    }

    ASSERT_TRUE(QDir().rmdir(m_former) && QDir().rename(away, m_former));
    EXPECT_EQ(m_folders.enter(m_former), std::nullopt);
    EXPECT_EQ(m_folders.outOfSight(), QStringList());
}

TEST_F(Folders, KnowOneThatIsOutOfSightByItsNameWithoutLinks)
{
    ASSERT_TRUE(QDir().mkdir(path(u"volume"_qs)) && QFile::link(path(u"volume"_qs), path(u"link"_qs)));
    const QString chosen = path(u"link/Import"_qs);
    choose(chosen);
    ASSERT_EQ(m_folders.enter(chosen), std::nullopt);
    ASSERT_TRUE(QDir().rename(path(u"volume"_qs), path(u"away"_qs)) && QDir().mkdir(path(u"volume"_qs)));

    EXPECT_TRUE(m_folders.enter(chosen));

    EXPECT_FALSE(QDir(path(u"volume/Import"_qs)).exists());
}

TEST_F(Folders, TakeTheWordOfAPersonWhoMadeItAnew)
{
    ASSERT_EQ(m_folders.enter(m_former), std::nullopt);
    ASSERT_TRUE(QDir(m_former).removeRecursively());
    ASSERT_TRUE(m_folders.enter(m_former));

    inbox(u"Import"_qs);

    EXPECT_EQ(m_folders.enter(m_former), std::nullopt);
    EXPECT_EQ(m_folders.outOfSight(), QStringList());
}

TEST_F(Folders, AskOneThatDoesNotAnswerForNothing)
{
    const QString chosen = inbox(u"Chosen"_qs);
    ASSERT_EQ(m_folders.enter(m_former), std::nullopt);
    ASSERT_EQ(m_folders.enter(chosen), std::nullopt);
    m_settings.listenerDestinationFolder.set(chosen);
    EXPECT_EQ(m_folders.withinReach(), QStringList{m_former});
    EXPECT_EQ(m_folders.outOfSight(), QStringList());

    m_folders.setSilent(m_former, true);
    EXPECT_EQ(m_folders.former(), QStringList{m_former});
    EXPECT_EQ(m_folders.withinReach(), QStringList());
    EXPECT_EQ(m_folders.outOfSight(), QStringList{m_former});
    EXPECT_EQ(m_folders.silentPresent(), std::nullopt);

    m_folders.setSilent(QString(), true);
    EXPECT_EQ(m_folders.silentPresent(), chosen);
    EXPECT_EQ(m_folders.outOfSight(), (QStringList{m_former, chosen}));
    EXPECT_EQ(m_folders.former(), QStringList{m_former});

    m_folders.setSilent(m_former, false);
    m_folders.setSilent(QString(), false);
    EXPECT_EQ(m_folders.withinReach(), QStringList{m_former});
    EXPECT_EQ(m_folders.outOfSight(), QStringList());
}

TEST_F(Folders, DoNotTakeOneForTheOneInUseThatAListenerEnteredAfterItsStop)
{
    const QString chosen = inbox(u"Chosen"_qs);
    ASSERT_EQ(m_folders.enter(chosen), std::nullopt);
    const QString id = m_folders.idInUse();

    ASSERT_EQ(m_folders.enter(m_former, [] { return false; }), std::nullopt);

    EXPECT_EQ(m_folders.idInUse(), id);
}

TEST_F(Folders, RememberTheOneThatWasUsedThoughAnEarlierProgramWorkedUnderItsVolume)
{
    {
        IncomingFolders before(m_defaults, m_settings, {m_former, m_home.path()});
        ASSERT_EQ(before.enter(m_former), std::nullopt);
    }
    write(m_former + u'/' + kComplete);
    const QString away = path(u"away"_qs);
    const QString under = path(u"under"_qs);
    ASSERT_TRUE(QDir().rename(m_former, away));
    write(inbox(u"Import"_qs) + u"/.part/order"_qs);

    IncomingFolders folders(m_defaults, m_settings, {m_former, m_home.path()});
    EXPECT_EQ(folders.enter(m_former), std::nullopt) << "what is sent can be kept there";
    EXPECT_EQ(folders.outOfSight(), QStringList{m_former});
    choose(m_chosen);
    ASSERT_EQ(folders.enter(m_chosen), std::nullopt);
    owned(folders);
    owned(folders);

    ASSERT_TRUE(QDir().rename(m_former, under) && QDir().rename(away, m_former));
    EXPECT_EQ(owned(folders), (QStringList{m_chosen, m_former}));
    EXPECT_EQ(folders.outOfSight(), QStringList());
}

TEST_F(Folders, KeepAFormerOneWhileOneWithoutANumberStandsInItsPlace)
{
    moveFrom(m_former, m_chosen);
    ASSERT_TRUE(QDir().rename(m_former, path(u"away"_qs)));
    write(inbox(u"Import"_qs) + u"/.part/order"_qs);
    write(m_former + u'/' + kComplete);

    EXPECT_EQ(owned(m_folders), (QStringList{m_chosen, m_former})) << "an earlier program acknowledged it";
    ASSERT_TRUE(QFile::remove(m_former + u'/' + kComplete));
    forgetTwice();
    EXPECT_EQ(m_folders.outOfSight(), QStringList{m_former});

    ASSERT_TRUE(QFile::remove(m_former + u"/.part/order"_qs)); // as a person leaves it who makes it anew
    EXPECT_EQ(m_folders.outOfSight(), QStringList());
    forgetTwice();
    EXPECT_EQ(m_folders.former(), QStringList());
}

TEST_F(Folders, TakeOneThatAPersonHasMadeAtItsWordAlsoWhereItsNumberWasCutOff)
{
    m_folders.enter(m_former);
    ASSERT_TRUE(QDir(m_former).removeRecursively());
    write(inbox(u"Import"_qs) + u"/.part/..id.0123456789abcdef0123456789abcdef.part"_qs);

    EXPECT_EQ(m_folders.outOfSight(), QStringList());
    m_folders.enter(m_former);

    EXPECT_EQ(m_folders.outOfSight(), QStringList());
    EXPECT_EQ(QDir(m_former + u"/.part"_qs).entryList(QDir::Files | QDir::Hidden, QDir::Name),
              (QStringList{u".id"_qs, u".lock"_qs}));
}

TEST_F(Folders, KnowWhenTheOneInUseIsExchanged)
{
    EXPECT_FALSE(m_folders.lookAtPresent().isExchanged);
    ASSERT_EQ(m_folders.enter(m_former + u'/'), std::nullopt); // as a person may write it
    const QString id = m_folders.idInUse();
    EXPECT_EQ(id.size(), 32);
    EXPECT_FALSE(m_folders.lookAtPresent().isExchanged);
    const QString away = path(u"away"_qs);

    ASSERT_TRUE(QDir().rename(m_former, away));
    EXPECT_FALSE(m_folders.lookAtPresent().isExchanged)
        << "nobody can be received there, and it may come back";
    inbox(u"Import"_qs);
    EXPECT_TRUE(m_folders.lookAtPresent().isExchanged);
    ASSERT_EQ(m_folders.enter(m_former), std::nullopt);

    EXPECT_FALSE(m_folders.lookAtPresent().isExchanged);
    EXPECT_NE(m_folders.idInUse(), id);
}

TEST_F(Folders, ForgetOneInWhichNoListenerCouldWorkAfterAll)
{
    const QString folder = inbox(u"inbox"_qs);
    choose(folder);
    m_folders.enter(folder);
    ASSERT_TRUE(QDir().rename(folder, path(u"away"_qs)) && QDir().mkpath(folder + u"/.part/order"_qs));
    ASSERT_EQ(m_folders.enter(folder), std::nullopt);
    EXPECT_EQ(m_folders.outOfSight(), QStringList{folder});

    m_folders.takeBack(m_folders.idInUse());

    ASSERT_TRUE(QDir().rename(folder, path(u"other"_qs)) && QDir().rename(path(u"away"_qs), folder));
    EXPECT_EQ(m_folders.outOfSight(), QStringList());
    const IncomingFolders restarted(m_defaults, m_settings, {m_former, m_home.path()});
    EXPECT_EQ(restarted.outOfSight(), QStringList());

    // One in which a listener worked before isn't forgotten for a start that failed.
    m_folders.enter(folder);
    m_folders.takeBack(m_folders.idInUse());
    ASSERT_TRUE(QDir().rename(folder, path(u"away"_qs)));
    EXPECT_EQ(m_folders.outOfSight(), QStringList{folder});
}

TEST_F(Folders, RememberTheOneThatWasUsedThoughAnotherOneStandsInItsPlace)
{
    const QString elsewhere = path(u"elsewhere"_qs);
    {
        IncomingFolders others(m_defaults, m_settings, {elsewhere, m_home.path()});
        ASSERT_EQ(others.enter(elsewhere), std::nullopt);
        ASSERT_EQ(others.enter(m_former), std::nullopt);
    }
    write(m_former + u'/' + kComplete);
    const QString away = path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_former, away) && QDir().rename(elsewhere, m_former));
    IncomingFolders folders(m_defaults, m_settings, {m_former, m_home.path()});

    EXPECT_EQ(folders.enter(m_former), std::nullopt) << "it is an inbox as well";
    choose(m_chosen);
    owned(folders);
    owned(folders);
    EXPECT_TRUE(folders.outOfSight().contains(m_former));

    ASSERT_TRUE(QDir().rename(m_former, elsewhere) && QDir().rename(away, m_former));
    EXPECT_TRUE(owned(folders).contains(m_former));
}

TEST_F(Folders, TakeNothingFromAnotherOneThatStandsInThePlaceOfAFormerOne)
{
    moveFrom(m_former, m_chosen);
    const QString away = path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_former, away));
    {
        platform::UserDefaults defaults(path(u"others.sqlite"_qs));
        core::Settings settings(defaults);
        IncomingFolders others(defaults, settings, {m_former, path(u"others"_qs)});
        ASSERT_EQ(others.enter(m_former), std::nullopt);
        write(m_former + u'/' + kComplete);
    }

    EXPECT_EQ(owned(m_folders), QStringList{m_chosen});
    EXPECT_EQ(m_folders.outOfSight(), QStringList{m_former});
}

TEST_F(Folders, GoWithAHomeThatIsMoved)
{
    const QString moved = path(u"moved"_qs);
    {
        IncomingFolders before(m_defaults, m_settings, {m_former, m_home.path()});
        ASSERT_EQ(before.enter(m_former), std::nullopt);
    }
    ASSERT_TRUE(QDir().mkdir(moved) && QDir().rename(m_former, moved + u"/Import"_qs));

    IncomingFolders afterwards(m_defaults, m_settings, {moved + u"/Import"_qs, moved});

    EXPECT_EQ(afterwards.enter(moved + u"/Import"_qs), std::nullopt);
    EXPECT_EQ(afterwards.all(), QStringList{moved + u"/Import"_qs});
    EXPECT_EQ(afterwards.outOfSight(), QStringList());
}

TEST_F(Folders, OfAHomeThatWasCopiedAreLeftToItsOriginal)
{
    const QString copy = path(u"copy"_qs);
    {
        IncomingFolders original(m_defaults, m_settings, {m_former, m_home.path()});
        ASSERT_EQ(original.enter(m_former), std::nullopt);
    }
    write(m_former + u'/' + kComplete);

    IncomingFolders copied(m_defaults, m_settings, {copy + u"/Import"_qs, copy});

    EXPECT_EQ(copied.enter(copy + u"/Import"_qs), std::nullopt);
    EXPECT_EQ(owned(copied), QStringList{copy + u"/Import"_qs});
    EXPECT_EQ(copied.ofAnotherHome(), QStringList{m_former});
    choose(m_former); // there is no original: the home was moved
    EXPECT_EQ(copied.enter(m_former), std::nullopt);
    EXPECT_EQ(copied.ofAnotherHome(), QStringList());
}

TEST_F(Folders, NotedByPathAloneAreKnownFromTheNextStartOn)
{
    ASSERT_TRUE(m_defaults.setObject(u"IncomingFoldersInUse"_qs, u"[\"%1\"]"_qs.arg(m_former).toUtf8()));
    IncomingFolders folders(m_defaults, m_settings, {m_former, m_home.path()});
    ASSERT_EQ(folders.all(), QStringList{m_former});

    EXPECT_EQ(folders.enter(m_former), std::nullopt);

    EXPECT_TRUE(QFile::exists(m_former + u"/.part/.id"_qs));
    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, {m_former, m_home.path()}).all(),
              QStringList{m_former});
}

TEST_F(Folders, KeepTheOneInWhichTheListenerStillWorks)
{
    m_folders.enter(m_former);
    choose(m_chosen); // and the listener hasn't been started anew

    forgetTwice();

    EXPECT_EQ(m_folders.all(), (QStringList{m_chosen, m_former}));
}

TEST_F(Folders, TellAFolderOfTwoNamesOnce)
{
    ASSERT_TRUE(QFile::link(m_former, path(u"link"_qs)));

    moveFrom(m_former, path(u"link"_qs));

    EXPECT_EQ(m_folders.former(), QStringList());
}

TEST_F(Folders, KnowWhereALinkLedThatLeadsElsewhereNow)
{
    const QString link = path(u"link"_qs);
    ASSERT_TRUE(QFile::link(m_former, link));
    choose(link);
    ASSERT_EQ(m_folders.enter(link), std::nullopt);
    ASSERT_TRUE(QFile::remove(link) && QFile::link(m_chosen, link));

    EXPECT_EQ(m_folders.all(), (QStringList{link, m_former}));
    const IncomingFolders afterwards(m_defaults, m_settings, {m_former, m_home.path()});
    EXPECT_EQ(afterwards.all(), (QStringList{link, m_former}));
}

TEST_F(Folders, BelongToOneGatewayAtATime)
{
    platform::UserDefaults defaults(path(u"others.sqlite"_qs));
    core::Settings settings(defaults);
    {
        IncomingFolders others(defaults, settings, {m_former, m_home.path()});
        ASSERT_EQ(others.enter(m_former), std::nullopt);

        EXPECT_TRUE(m_folders.enter(m_former).value_or(QString()).inEnglish().contains(
            u"process %1"_qs.arg(QCoreApplication::applicationPid())));
        EXPECT_FALSE(m_folders.own(m_former));
        EXPECT_EQ(owned(m_folders), QStringList());
    }

    EXPECT_EQ(m_folders.enter(m_former), std::nullopt);
    EXPECT_EQ(owned(m_folders), QStringList{m_former});
    EXPECT_FALSE(IncomingFolders(defaults, settings, {m_former, m_home.path()}).own(m_former));
}

TEST_F(Folders, AreNotTakenFromAnotherGatewayThatWorksInAFormerOne)
{
    moveFrom(m_former, m_chosen);
    write(m_former + u'/' + kComplete);
    EXPECT_EQ(owned(m_folders), (QStringList{m_chosen, m_former}));
    platform::UserDefaults defaults(path(u"others.sqlite"_qs));
    core::Settings settings(defaults);
    IncomingFolders others(defaults, settings, {m_former, m_home.path()});
    EXPECT_TRUE(others.enter(m_former)) << "what waits there is still taken in";

    ASSERT_TRUE(QFile::remove(m_former + u'/' + kComplete));
    forgetTwice();
    EXPECT_EQ(owned(m_folders), QStringList{m_chosen});

    EXPECT_EQ(others.enter(m_former), std::nullopt);
}

TEST_F(Folders, LeaveAnEmptyFormerOneToWhoeverWantsToWorkThere)
{
    {
        IncomingFolders before(m_defaults, m_settings, {m_former, m_home.path()});
        ASSERT_EQ(before.enter(m_former), std::nullopt);
    }
    choose(m_chosen);
    IncomingFolders folders(m_defaults, m_settings, {m_former, m_home.path()});
    EXPECT_EQ(folders.all(), (QStringList{m_chosen, m_former}));

    EXPECT_EQ(owned(folders), QStringList{m_chosen});
    EXPECT_TRUE(m_folders.own(m_former));
}

TEST_F(Folders, AreRememberedThoughTheDefaultsCouldNotBeWrittenAtOnce)
{
    const QString file = path(u"defaults.sqlite"_qs);
    platform::UserDefaults other(file, std::chrono::milliseconds(0));
    IncomingFolders folders(other, m_settings, {m_former, m_home.path()});
    ASSERT_TRUE(m_defaults.setObject(u"any"_qs, true));
    {
        auto blocking = platform::Database::open(file, platform::Database::Access::readWrite);
        const platform::Transaction transaction(blocking);
        folders.enter(m_former);
    }
    choose(m_chosen);
    EXPECT_EQ(folders.former(), QStringList{m_former});
    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, {m_former, m_home.path()}).former(), QStringList());

    owned(folders);

    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, {m_former, m_home.path()}).former(),
              QStringList{m_former});
}

} // namespace
} // namespace gateway::receive
