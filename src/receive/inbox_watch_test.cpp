#include "receive/inbox_watch.h"

#include "receive/inbox.h"
#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

#include <semaphore>

namespace gateway::receive {
namespace {

using testing::ReceiveWorld;

class Watch : public ::testing::Test
{
protected:
    /// Lets the next looks be taken, as many as there are inboxes that answer.
    void look(int looks = 1)
    {
        const int before = m_told.count();
        m_world.clock.waitForSleepers(1);
        m_world.clock.advance(InboxWatch::kPause);
        m_world.waitUntil([&] { return m_told.count() >= before + looks; });
    }

    /// The look that is taken at the start.
    void awaitFirstLook()
    {
        m_world.waitUntil([this] { return m_told.count() > 0; });
    }

    /// What was told last. Thread: any.
    class Told
    {
    public:
        void set(const state::InboxFigures &figures)
        {
            const platform::MutexLock lock(m_mutex);
            m_figures = figures;
            ++m_count;
        }

        state::InboxFigures figures() const
        {
            const platform::MutexLock lock(m_mutex);
            return m_figures;
        }

        int count() const
        {
            const platform::MutexLock lock(m_mutex);
            return m_count;
        }

    private:
        mutable platform::Mutex m_mutex;
        state::InboxFigures m_figures QUORIN_GUARDED_BY(m_mutex);
        int m_count QUORIN_GUARDED_BY(m_mutex) = 0;
    };

    IncomingFolders::Sight sightOf(const QString &inbox)
    {
        if (inbox == m_silent) {
            m_answers.acquire();
            m_answers.release();
        }
        return {inbox, false, true, std::nullopt};
    }

    ReceiveWorld m_world;
    QStringList m_inboxes{m_world.inbox()}; // changed between two rounds of looks
    QString m_silent;                       // doesn't answer while nobody lets it
    std::binary_semaphore m_answers{1};
    QList<std::pair<QString, bool>> m_silences; // told before the figures are
    QStringList m_offered;                      // changed by the looks of the inbox, read between them
    bool m_takes = true;                        // what it is offered, and not to remove it alone
    Told m_told;
    InboxWatch m_watch{
        m_world.clock,
        {[this] { return m_inboxes; },
         [this](const QString &inbox) { return sightOf(inbox); },
         [this](const QString &inbox, bool isSilent) { m_silences.append({inbox, isSilent}); }},
        [this](const QString &path) {
            m_offered.append(path);
            return m_takes;
        },
        [this](const state::InboxFigures &figures) { m_told.set(figures); }};
};

TEST_F(Watch, CountsWhatWasSetAside)
{
    awaitFirstLook();
    ASSERT_FALSE(setAside(m_world.receivedFile("DICM")).error);

    look();
    EXPECT_EQ(m_told.figures(), (state::InboxFigures{.setAside = 1}));
    ASSERT_TRUE(QDir(setAsideFolder(m_world.inbox())).removeRecursively());
    look();

    EXPECT_EQ(m_told.figures(), state::InboxFigures());
}

TEST_F(Watch, OffersAFileThatLiesThereAtTwoLooksAndAgainWhileItStays)
{
    awaitFirstLook(); // and it found nothing
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

TEST_F(Watch, CountsApartWhatWasTakenInAndCannotLeave)
{
    awaitFirstLook();
    const QString path = m_world.receivedFile("DICM");
    look();
    look();
    EXPECT_EQ(m_told.figures().waiting, 1);
    m_takes = false;
    look();

    EXPECT_EQ(m_told.figures(), (state::InboxFigures{.notRemoved = 1}));
    EXPECT_EQ(m_offered.size(), 2) << "its removal is tried again";
}

TEST_F(Watch, TellsHowManyWaitAndForHowLongWhateverTheirTimesSay)
{
    awaitFirstLook();
    const QString path = m_world.receivedFile("DICM");
    look();
    EXPECT_EQ(m_told.figures(), state::InboxFigures()) << "it may just have arrived";
    m_world.receivedFile("DICM", 2);

    look();
    EXPECT_EQ(m_told.figures(), (state::InboxFigures{.waiting = 1, .longestWait = InboxWatch::kPause}));
    look();
    EXPECT_EQ(m_told.figures(), (state::InboxFigures{.waiting = 2, .longestWait = 2 * InboxWatch::kPause}));
    EXPECT_FALSE(m_told.figures().isWaitingLong());
    while (m_told.figures().longestWait < state::InboxFigures::kLongWait) {
        look();
    }
    EXPECT_TRUE(m_told.figures().isWaitingLong());
    ASSERT_TRUE(QFile::remove(path));
    look();
    EXPECT_EQ(m_told.figures().waiting, 1);
    EXPECT_FALSE(m_told.figures().longestWait == std::chrono::seconds(0));
}

TEST_F(Watch, LooksIntoEachInbox)
{
    awaitFirstLook();
    const QString path = m_world.receivedFile("DICM");
    ASSERT_FALSE(setAside(m_world.receivedFile("text", 2)).error);
    m_inboxes.prepend(m_world.path(u"chosen"_qs));

    look(2);
    look(2);

    EXPECT_EQ(m_offered, QStringList{path});
    EXPECT_EQ(m_told.figures().setAside, 1);
    EXPECT_EQ(m_told.figures().waiting, 1);
}

TEST_F(Watch, FindsWhatAFolderHoldsThatWasAway)
{
    awaitFirstLook(); // and it found nothing
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

TEST_F(Watch, LooksIntoTheOthersWhileOneFolderDoesNotAnswer)
{
    awaitFirstLook();
    m_silent = m_world.path(u"silent"_qs);
    m_answers.acquire();
    m_inboxes.prepend(m_silent);
    const QString path = m_world.receivedFile("DICM");

    look();
    EXPECT_EQ(m_told.figures().outOfSight, 0) << "it may only be slow";
    look(2); // the other one's, and that this one doesn't end
    EXPECT_EQ(m_offered, QStringList{path});
    EXPECT_EQ(m_told.figures().outOfSight, 1);
    EXPECT_TRUE(m_silences.contains({m_silent, true}));
    m_answers.release();
    m_world.waitUntil([this] { return m_told.figures().outOfSight == 0; });
    EXPECT_EQ(m_silences.last(), std::pair(m_silent, false));
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
