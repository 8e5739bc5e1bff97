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

    void forgetTwice()
    {
        m_folders.forgetEmptied();
        m_folders.forgetEmptied();
    }

    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{path(u"defaults.sqlite"_qs)};
    core::Settings m_settings{m_defaults};
    const QString m_former = inbox(u"Import"_qs);
    const QString m_chosen = inbox(u"chosen"_qs);
    IncomingFolders m_folders{m_defaults, m_settings, m_former};
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

    const IncomingFolders afterwards(m_defaults, m_settings, m_former);

    EXPECT_EQ(afterwards.all(), (QStringList{m_chosen, m_former}));
}

TEST_F(Folders, LetGoOfAFormerOneThatTwoLooksFindEmpty)
{
    moveFrom(m_former, m_chosen);
    write(m_former + u"/somebody's.txt"_qs);

    m_folders.forgetEmptied();
    EXPECT_EQ(m_folders.former(), QStringList{m_former}) << "an association may still finish its object";
    m_folders.forgetEmptied();

    EXPECT_EQ(m_folders.former(), QStringList());
    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, m_former).former(), QStringList());
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
    ASSERT_TRUE(m_folders.enter(link));
    ASSERT_TRUE(QFile::remove(link) && QFile::link(m_chosen, link));

    EXPECT_EQ(m_folders.all(), (QStringList{link, m_former}));
    const IncomingFolders afterwards(m_defaults, m_settings, m_former);
    EXPECT_EQ(afterwards.all(), (QStringList{link, m_former}));
}

TEST_F(Folders, BelongToOneGatewayAtATime)
{
    platform::UserDefaults defaults(path(u"others.sqlite"_qs));
    core::Settings settings(defaults);
    {
        IncomingFolders others(defaults, settings, m_former);
        ASSERT_TRUE(others.enter(m_former));

        EXPECT_FALSE(m_folders.enter(m_former));
        EXPECT_FALSE(m_folders.own(m_former));
        EXPECT_EQ(m_folders.owned(), QStringList());
        EXPECT_TRUE(IncomingFolders::inUseSentence(m_former).contains(
            u"process %1"_qs.arg(QCoreApplication::applicationPid())));
    }

    EXPECT_TRUE(m_folders.enter(m_former));
    EXPECT_EQ(m_folders.owned(), QStringList{m_former});
    EXPECT_FALSE(IncomingFolders(defaults, settings, m_former).own(m_former));
}

TEST_F(Folders, AreNotTakenFromAnotherGatewayThatWorksInAFormerOne)
{
    moveFrom(m_former, m_chosen);
    write(m_former + u'/' + kComplete);
    EXPECT_EQ(m_folders.owned(), (QStringList{m_chosen, m_former}));
    platform::UserDefaults defaults(path(u"others.sqlite"_qs));
    core::Settings settings(defaults);
    IncomingFolders others(defaults, settings, m_former);
    EXPECT_FALSE(others.enter(m_former)) << "what waits there is still taken in";

    ASSERT_TRUE(QFile::remove(m_former + u'/' + kComplete));
    forgetTwice();
    EXPECT_EQ(m_folders.owned(), QStringList{m_chosen});

    EXPECT_TRUE(others.enter(m_former));
}

TEST_F(Folders, LeaveAnEmptyFormerOneToWhoeverWantsToWorkThere)
{
    {
        IncomingFolders before(m_defaults, m_settings, m_former);
        ASSERT_TRUE(before.enter(m_former));
    }
    choose(m_chosen);
    IncomingFolders folders(m_defaults, m_settings, m_former);
    EXPECT_EQ(folders.all(), (QStringList{m_chosen, m_former}));

    EXPECT_EQ(folders.owned(), QStringList{m_chosen});
    EXPECT_TRUE(m_folders.own(m_former));
}

TEST_F(Folders, AreRememberedThoughTheDefaultsCouldNotBeWrittenAtOnce)
{
    const QString file = path(u"defaults.sqlite"_qs);
    platform::UserDefaults other(file, std::chrono::milliseconds(0));
    IncomingFolders folders(other, m_settings, m_former);
    ASSERT_TRUE(m_defaults.setObject(u"any"_qs, true));
    {
        auto blocking = platform::Database::open(file, platform::Database::Access::readWrite);
        const platform::Transaction transaction(blocking);
        folders.enter(m_former);
    }
    choose(m_chosen);
    EXPECT_EQ(folders.former(), QStringList{m_former});
    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, m_former).former(), QStringList());

    folders.forgetEmptied();

    EXPECT_EQ(IncomingFolders(m_defaults, m_settings, m_former).former(), QStringList{m_former});
}

} // namespace
} // namespace gateway::receive
