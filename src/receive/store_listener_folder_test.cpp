#include "receive/store_listener_service.h"
#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

using namespace std::chrono_literals;

using testing::ReceiveWorld;

/// The listener, and what becomes of its incoming folder while it is to run.
class ListenerFolderInLife : public ::testing::Test
{
protected:
    /// The receiver can't work in the folder, which goes away then.
    void refuseTheFirstUse()
    {
        m_world.service->startListener();
        m_world.scps.back()->config();
        m_world.scps.back()->end(platform::StoreSCP::kFolderRefused);
        m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });
        ASSERT_TRUE(QDir().rename(m_world.inbox(), m_world.path(u"away"_qs)));
    }

    ReceiveWorld m_world;
};

TEST_F(ListenerFolderInLife, StartsByItselfWhenWhatItWasRefusedForHasPassed)
{
    IncomingFolders &folders = m_world.incomingFolders;
    ASSERT_EQ(folders.enter(m_world.inbox()), std::nullopt);
    const QString away = m_world.path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_world.inbox(), away) && QDir().mkdir(m_world.inbox()));
    m_world.service->startListener();
    m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });
    EXPECT_TRUE(m_world.errors.front().startsWith(u"The incoming folder can't be seen at "_qs));

    m_world.settings.gatewaySetupCompleted.set(true);
    m_world.settings.gatewaySetupVersion.set(1);

    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());
    EXPECT_EQ(m_world.service->state(), state::ListenerState::failed);
    m_world.service->stopListener(); // as the setup does when none came
    EXPECT_EQ(m_world.errors.size(), 1) << "it is told once";
    EXPECT_TRUE(QDir(m_world.inbox()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));

    ASSERT_TRUE(QDir().rmdir(m_world.inbox()) && QDir().rename(away, m_world.inbox()));
    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());
    EXPECT_EQ(m_world.scps.back()->config().port, 1115);
}

TEST_F(ListenerFolderInLife, StartsByItselfWhenTheFolderInWhichItCouldNotWorkHasChanged)
{
    m_world.settings.gatewaySetupCompleted.set(true);
    m_world.settings.gatewaySetupVersion.set(1);
    IncomingFolders &folders = m_world.incomingFolders;
    m_world.service->startListener();
    m_world.scps.back()->config();
    m_world.scps.back()->end(platform::StoreSCP::kFolderRefused);
    m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });
    EXPECT_EQ(m_world.errors, QStringList{u"The fake was told to fail."_qs}) << "a port is not to blame";

    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());
    EXPECT_EQ(m_world.scps.size(), 1U) << "it would fail again";
    EXPECT_EQ(m_world.service->state(), state::ListenerState::failed);
    ASSERT_TRUE(QDir().rename(m_world.inbox() + u"/.part"_qs, m_world.inbox() + u"/.former"_qs));
    ASSERT_TRUE(QDir().mkdir(m_world.inbox() + u"/.part"_qs));
    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());

    ASSERT_EQ(m_world.scps.size(), 2U);
    EXPECT_EQ(m_world.scps.back()->config().port, 1115);
}

TEST_F(ListenerFolderInLife, OfAFirstUseIsForgottenWhereNoneCouldWork)
{
    refuseTheFirstUse();

    EXPECT_EQ(m_world.incomingFolders.outOfSight(), QStringList()) << "it would be asked for for ever";
}

TEST_F(ListenerFolderInLife, OfAFirstUseIsRememberedWhereSomethingOfAListenersLies)
{
    m_world.imports.setNoStorage(true); // it stays where it is
    m_world.receivedFile("DICM");

    refuseTheFirstUse();

    EXPECT_EQ(m_world.incomingFolders.outOfSight().size(), 1);
}

/// A quota or a cable that was mended leaves everything as it looked before.
TEST_F(ListenerFolderInLife, IsTriedAgainAfterAWhileThoughNothingThereHasChanged)
{
    m_world.settings.gatewaySetupCompleted.set(true);
    m_world.settings.gatewaySetupVersion.set(1);
    IncomingFolders &folders = m_world.incomingFolders;
    m_world.service->startListener();
    for (qsizetype tries = 1; tries <= 3; ++tries) {
        m_world.scps.back()->config();
        m_world.scps.back()->end(platform::StoreSCP::kFolderRefused);
        m_world.waitUntil([&] { return m_world.errors.size() == tries; });
        EXPECT_EQ(m_world.isLastErrorKnown, tries > 1);
        m_world.clock.advance(StoreListenerService::kNextTry - 1s);
        m_world.service->incomingFolderWasSeen(folders.lookAtPresent());
        ASSERT_EQ(m_world.scps.size(), static_cast<std::size_t>(tries));

        m_world.clock.advance(1s);
        m_world.service->incomingFolderWasSeen(folders.lookAtPresent());

        ASSERT_EQ(m_world.scps.size(), static_cast<std::size_t>(tries) + 1);
        m_world.service->incomingFolderWasSeen(folders.lookAtPresent()); // while it starts
    }
    m_world.scps.back()->config();
    m_world.scps.back()->listen();
    m_world.waitUntil([this] { return m_world.service->state() == state::ListenerState::listening; });
    EXPECT_EQ(m_world.scps.size(), 4U);
}

/// What a look can't see, such as why the folder can't be made, is no reason for a try at each look.
TEST_F(ListenerFolderInLife, IsNotTriedAtEachLookWhereOnlyATryTellsWhatIsInTheWay)
{
    m_world.settings.gatewaySetupCompleted.set(true);
    m_world.settings.gatewaySetupVersion.set(1);
    QFile file(m_world.path(u"file"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    m_world.settings.listenerDestinationFolder.set(file.fileName() + u"/inbox"_qs);
    m_world.service->startListener();
    m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });
    EXPECT_TRUE(m_world.errors.front().contains(u"can't be used"_qs)) << m_world.errors.front().toStdString();

    m_world.service->incomingFolderWasSeen(m_world.incomingFolders.lookAtPresent());

    EXPECT_EQ(m_world.service->state(), state::ListenerState::failed);
    m_world.clock.advance(StoreListenerService::kNextTry);
    m_world.service->incomingFolderWasSeen(m_world.incomingFolders.lookAtPresent());
    EXPECT_EQ(m_world.service->state(), state::ListenerState::starting);
    m_world.waitUntil([this] { return m_world.errors.size() == 2; });
    EXPECT_TRUE(m_world.isLastErrorKnown);
}

TEST_F(ListenerFolderInLife, DoesNotStartByItselfWhatAPersonSwitchedOffOrWhatWasNotRefused)
{
    m_world.settings.gatewaySetupCompleted.set(true);
    m_world.settings.gatewaySetupVersion.set(1);
    m_world.service->incomingFolderWasSeen({});
    EXPECT_EQ(m_world.scps.size(), 0U);
    m_world.service->startListener();
    m_world.scps.back()->config();
    m_world.service->stopListener();
    m_world.service->incomingFolderWasSeen({});
    EXPECT_EQ(m_world.scps.size(), 1U);
    const QString away = m_world.path(u"away"_qs);
    ASSERT_TRUE(QDir().rename(m_world.inbox(), away));
    m_world.service->startListener();
    m_world.waitUntil([this] { return !m_world.errors.isEmpty(); }); // refused
    ASSERT_TRUE(QDir().rename(away, m_world.inbox()));

    m_world.configure([](core::DCMListenerSettings &record) { record.isEnabled = false; });
    m_world.service->incomingFolderWasSeen({});

    EXPECT_EQ(m_world.scps.size(), 2U);
}

TEST_F(ListenerFolderInLife, StartsAnewWhereAnotherHasComeInItsPlace)
{
    IncomingFolders &folders = m_world.incomingFolders;
    IncomingFolders::Sight exchanged;
    exchanged.isExchanged = true;
    m_world.service->incomingFolderWasSeen(exchanged);
    EXPECT_EQ(m_world.scps.size(), 0U) << "nothing runs that would have to know";
    m_world.service->startListener();
    const QString id = m_world.scps.back()->config().incomingFolderId;
    EXPECT_EQ(id, folders.idInUse());
    m_world.scps.back()->listen();
    ASSERT_TRUE(QDir().rename(m_world.inbox(), m_world.path(u"away"_qs)));
    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());
    EXPECT_EQ(m_world.scps.size(), 1U) << "it may come back, and nobody can send meanwhile";
    ASSERT_TRUE(QDir().mkpath(m_world.inbox() + u"/.part"_qs));

    m_world.service->incomingFolderWasSeen(folders.lookAtPresent());

    ASSERT_EQ(m_world.scps.size(), 2U);
    EXPECT_NE(m_world.scps.back()->config().incomingFolderId, id);
    EXPECT_FALSE(folders.lookAtPresent().isExchanged);
}

} // namespace
} // namespace gateway::receive
