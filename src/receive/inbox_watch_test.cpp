#include "receive/inbox_watch.h"

#include "receive/inbox.h"
#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

#include <atomic>

namespace gateway::receive {
namespace {

using testing::ReceiveWorld;

class Watch : public ::testing::Test
{
protected:
    /// Lets the next look be taken.
    void look()
    {
        const int before = m_looks;
        m_world.clock.waitForSleepers(1);
        m_world.clock.advance(InboxWatch::kPause);
        m_world.waitUntil([&] { return m_looks > before; }); // the watch sleeps no more
        m_world.clock.waitForSleepers(1);
    }

    ReceiveWorld m_world;
    std::atomic<int> m_looks = 0;
    QStringList m_inboxes{m_world.inbox()}; // changed while the watch sleeps, read while it doesn't
    // Written between two sleeps of the watch, read while it sleeps.
    QStringList m_offered;
    state::InboxFigures m_told;
    InboxWatch m_watch{m_world.clock,
                       [this] {
                           ++m_looks;
                           return m_inboxes;
                       },
                       [this](const QString &path) { m_offered.append(path); },
                       [this](const state::InboxFigures &figures) { m_told = figures; }};
};

TEST_F(Watch, CountsWhatWasSetAside)
{
    m_world.clock.waitForSleepers(1);
    ASSERT_FALSE(setAside(m_world.receivedFile("DICM")).error);

    look();
    EXPECT_EQ(m_told, (state::InboxFigures{.setAside = 1}));
    ASSERT_TRUE(QDir(setAsideFolder(m_world.inbox())).removeRecursively());
    look();

    EXPECT_EQ(m_told, state::InboxFigures());
}

TEST_F(Watch, OffersAFileThatLiesThereAtTwoLooksAndAgainWhileItStays)
{
    m_world.clock.waitForSleepers(1); // the first look found nothing
    const QString path = m_world.receivedFile("DICM");

    look();
    EXPECT_TRUE(m_offered.isEmpty()) << "it may just have arrived";
    look();
    EXPECT_EQ(m_offered, QStringList{path});
    look();
    EXPECT_EQ(m_offered, (QStringList{path, path}));
    ASSERT_TRUE(QFile::remove(path));
    look();
    EXPECT_EQ(m_offered.size(), 2);
}

TEST_F(Watch, TellsHowManyWaitAndForHowLongWhateverTheirTimesSay)
{
    m_world.clock.waitForSleepers(1);
    const QString path = m_world.receivedFile("DICM");
    look();
    EXPECT_EQ(m_told, state::InboxFigures()) << "it may just have arrived";
    m_world.receivedFile("DICM", 2);

    look();
    EXPECT_EQ(m_told, (state::InboxFigures{.waiting = 1, .longestWait = InboxWatch::kPause}));
    look();
    EXPECT_EQ(m_told, (state::InboxFigures{.waiting = 2, .longestWait = 2 * InboxWatch::kPause}));
    EXPECT_FALSE(m_told.isWaitingLong());
    while (m_told.longestWait < state::InboxFigures::kLongWait) {
        look();
    }
    EXPECT_TRUE(m_told.isWaitingLong());
    ASSERT_TRUE(QFile::remove(path));
    look();
    EXPECT_EQ(m_told.waiting, 1);
    EXPECT_FALSE(m_told.longestWait == std::chrono::seconds(0));
}

TEST_F(Watch, LooksIntoEachInbox)
{
    m_world.clock.waitForSleepers(1);
    const QString path = m_world.receivedFile("DICM");
    ASSERT_FALSE(setAside(m_world.receivedFile("text", 2)).error);
    m_inboxes.prepend(m_world.path(u"chosen"_qs));

    look();
    look();

    EXPECT_EQ(m_offered, QStringList{path});
    EXPECT_EQ(m_told.setAside, 1);
    EXPECT_EQ(m_told.waiting, 1);
}

TEST_F(Watch, FindsWhatAFolderHoldsThatWasAway)
{
    m_world.clock.waitForSleepers(1); // the first look found nothing
    const QString path = m_world.receivedFile("DICM");
    const QString away = m_world.inbox() + u"-away"_qs;
    ASSERT_TRUE(QDir().rename(m_world.inbox(), away));
    look();
    look();
    EXPECT_TRUE(m_offered.isEmpty());

    ASSERT_TRUE(QDir().rename(away, m_world.inbox()));
    look();
    look();

    EXPECT_EQ(m_offered, QStringList{path});
}

TEST_F(Watch, LeavesFilesOfOthersAlone)
{
    QFile letter(m_world.inbox() + u"/letter.dcm"_qs);
    ASSERT_TRUE(letter.open(QIODevice::WriteOnly));
    letter.close();

    look();
    look();

    EXPECT_TRUE(m_offered.isEmpty());
}

} // namespace
} // namespace gateway::receive
