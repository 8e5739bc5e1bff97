#include "platform/dicom/dcmtk_store_scp.h"

#include "platform/dicom/helper_process.h"
#include "platform/dicom/testing/running_store_scp.h"
#include "platform/dicom/testing/scripted_modality.h"
#include "platform/files/files.h"
#include "platform/sockets/testing/loopback_port.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <semaphore>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::platform {

using testing::commandSet;
using testing::dataPdus;
using testing::freeLoopbackPort;
using testing::kCtStorage;
using testing::kExplicitLittleEndian;
using testing::OfferedContext;
using testing::RunningStoreSCP;
using testing::ScriptedModality;
using testing::smallDataSet;

namespace {

StoreSCPConfig configFor(const QString &inbox, int port, const QString &address = QStringLiteral("127.0.0.1"))
{
    QDir().mkpath(inbox + QStringLiteral("/.part"));
    StoreSCPConfig config;
    config.port = port;
    config.incomingPath = inbox;
    config.bindAddress = address;
    return config;
}

StoreSCPEnvironment environment()
{
    return {helperProgramPath(), QString(), 0};
}

/// Waits long enough for a loaded machine where the process does answer, as the tests need it to.
ListenerTimeouts shortTimeouts()
{
    ListenerTimeouts timeouts;
    timeouts.signOfLife = std::chrono::milliseconds(300);
    timeouts.unbind = std::chrono::milliseconds(300);
    timeouts.finish = std::chrono::milliseconds(300);
    return timeouts;
}

const std::vector<OfferedContext> kOneContext{{1, kCtStorage, {kExplicitLittleEndian}}};

constexpr std::int64_t kLongAhead =
    4'000'000'000'000'000'000; // nanoseconds: the clock was wrong at an import

/// Kills a process, and returns when it runs no more.
void kill(pid_t process)
{
    ::kill(process, SIGKILL);
    QByteArray status;
    do {
        std::this_thread::yield();
        status = testing::procFile(process, "status");
    } while (!status.isEmpty() && !status.contains("State:\tZ") && !status.contains("State:\tX"));
}

/// True once an unfinished file is in the inbox, or none any more; false where that takes for ever.
bool awaitUnfinished(const QTemporaryDir &inbox, bool isThere)
{
    const QDir part(inbox.filePath(QStringLiteral(".part")));
    const auto isSo = [&] {
        return part.entryList({QStringLiteral("quorin-*")}, QDir::Files).isEmpty() != isThere;
    };
    constexpr std::chrono::minutes kForEver(1);
    const auto end = std::chrono::steady_clock::now() + kForEver;
    while (!isSo() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return isSo();
}

/// Sends one object. \return the time that its file has, in nanoseconds since 1970.
std::int64_t timeOfObject(RunningStoreSCP &running)
{
    const QString progress = QStringLiteral("progress ");
    const int before = static_cast<int>(running.await(progress, 0).size());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 1000)), 0);
    modality.release();
    const QStringList told = running.await(progress, before + 1);
    const auto identity = told.isEmpty() ? std::nullopt : fileIdentity(told.last().mid(progress.size()));
    EXPECT_TRUE(identity.has_value());
    return identity ? identity->modified.count() : 0;
}

} // namespace

TEST(DCMTKStoreSCP, TellsOfAnAssociationAndItsObjectInOrder)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());

    modality.associate(kOneContext);
    const auto status = modality.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 1000));
    modality.release();

    EXPECT_EQ(status, 0);
    running.await(QStringLiteral("complete"));
    const QStringList events = running.events();
    ASSERT_EQ(events.size(), 3);
    EXPECT_TRUE(events[0].startsWith(QStringLiteral("started 127.0.0.1:")));
    EXPECT_TRUE(QFile::exists(events[1].mid(9)));
    EXPECT_EQ(events[2].mid(9), events[0].mid(8));
    EXPECT_EQ(running.stop(), 0);
    EXPECT_TRUE(running.scp().lastMessage().isEmpty());
}

TEST(DCMTKStoreSCP, UsesItsDefaultFolderWhereNoneIsGiven)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("Documents/Import"));
    ASSERT_TRUE(QDir().mkpath(folder + QStringLiteral("/.part")));
    DCMTKStoreSCP scp({helperProgramPath(), folder, 0});
    StoreSCPConfig config = configFor({}, 0);
    config.incomingPath.reset();
    std::thread thread([&] { EXPECT_EQ(scp.start(config, {}), 0); });

    EXPECT_TRUE(scp.awaitPort());
    scp.stop();
    thread.join();

    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/.part/order")));
}

TEST(DCMTKStoreSCP, APortInUseIsRefusedWithASentenceThatSaysSo)
{
    const QTemporaryDir inbox;
    RunningStoreSCP first(inbox.path());
    DCMTKStoreSCP second(environment());

    const int result = second.start(configFor(inbox.path(), first.port()), {});

    EXPECT_NE(result, 0);
    EXPECT_EQ(second.lastMessage().inEnglish(),
              QStringLiteral("Port %1 is already in use by another program.").arg(first.port()));
    EXPECT_FALSE(second.boundPort());
}

TEST(DCMTKStoreSCP, AnAddressOfAnotherMachineIsRefused)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp(environment());

    EXPECT_NE(scp.start(configFor(inbox.path(), 0, QStringLiteral("192.0.2.1")), {}), 0);

    EXPECT_EQ(scp.lastMessage().inEnglish(),
              QStringLiteral("The address 192.0.2.1 doesn't belong to this machine."));
}

TEST(DCMTKStoreSCP, APortThatDoesNotExistIsRefused)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp(environment());

    EXPECT_NE(scp.start(configFor(inbox.path(), 65536), {}), 0);

    EXPECT_EQ(scp.lastMessage().inEnglish(), QStringLiteral("Port 65536 doesn't exist."));
}

TEST(DCMTKStoreSCP, AnInboxThatIsNotThereIsRefused)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    DCMTKStoreSCP scp(environment());

    EXPECT_NE(scp.start(configFor(file.fileName() + QStringLiteral("/inbox"), 0), {}), 0);

    EXPECT_TRUE(scp.lastMessage().inEnglish().startsWith(QStringLiteral("The incoming folder ")));
    EXPECT_TRUE(scp.lastMessage().inEnglish().endsWith(QStringLiteral("Not a directory.")));
}

TEST(DCMTKStoreSCP, AProgramThatIsNotThereIsAnErrorAndNotACrash)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp({QStringLiteral("/nowhere/quorin-dicom"), QString(), 0});

    EXPECT_NE(scp.start(configFor(inbox.path(), 0), {}), 0);

    EXPECT_TRUE(scp.lastMessage().inEnglish().contains(QStringLiteral("/nowhere/quorin-dicom")));
}

TEST(DCMTKStoreSCP, AStopBeforeTheStartMakesItReturnAtOnce)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp(environment());

    scp.stop();

    EXPECT_EQ(scp.start(configFor(inbox.path(), 0), {}), 0);
}

TEST(DCMTKStoreSCP, ThePortIsFreeForTheNextStartWhileAnAssociationStays)
{
    const QTemporaryDir inbox;
    RunningStoreSCP first(inbox.path());
    ScriptedModality staying(first.port()); // keeps the old run busy while the new one begins
    staying.associate(kOneContext);
    first.await(QStringLiteral("started"));

    first.scp().stop();
    first.scp().awaitFreePort();
    DCMTKStoreSCP second(environment());
    std::thread thread([&] { EXPECT_EQ(second.start(configFor(inbox.path(), first.port()), {}), 0); });

    EXPECT_EQ(second.awaitPort(), first.port());
    second.stop();
    thread.join();
    EXPECT_EQ(first.join(), 0);
}

/// Such as a look into a folder on a share that is dead.
TEST(DCMTKStoreSCP, ACallbackThatDoesNotReturnHoldsUpNobodyWhoWaitsForThePort)
{
    const QTemporaryDir inbox;
    StoreSCPEnvironment quick = environment();
    quick.timeouts = shortTimeouts();
    DCMTKStoreSCP scp(quick);
    std::counting_semaphore<> isLooking(0);
    std::counting_semaphore<> answers(0);
    StoreSCPCallbacks callbacks;
    callbacks.leftFiles = [&] {
        isLooking.release();
        answers.acquire();
    };
    std::thread thread([&] { EXPECT_EQ(scp.start(configFor(inbox.path(), 0), callbacks), 0); });
    ScriptedModality modality(scp.awaitPort().value());
    modality.associate(kOneContext);
    ASSERT_TRUE(modality.release()); // so it has listened for a while
    ::kill(scp.processId().value(), SIGKILL);
    isLooking.acquire();

    scp.stop();
    scp.awaitFreePort();

    constexpr int kLooks = 10; // a receiver that was started again by then leaves files, too
    answers.release(kLooks);
    thread.join();
}

TEST(DCMTKStoreSCP, AStopFromACallbackDoesNotWaitForItself)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp(environment());
    StoreSCPCallbacks callbacks;
    callbacks.started = [&scp](QString, QString) { scp.stop(); };
    std::thread thread([&] { EXPECT_EQ(scp.start(configFor(inbox.path(), 0), callbacks), 0); });

    ScriptedModality modality(scp.awaitPort().value());
    modality.associate(kOneContext);

    thread.join();
}

TEST(DCMTKStoreSCP, AKilledHelperThatHadListenedIsStartedAgainOnItsPort)
{
    const QTemporaryDir inbox;
    const int port = freeLoopbackPort();
    RunningStoreSCP running(inbox.path(), port);
    ScriptedModality before(running.port());
    before.associate(kOneContext);
    running.await(QStringLiteral("started"));

    ::kill(running.scp().processId().value(), SIGKILL);

    EXPECT_EQ(running.await(QStringLiteral("interrupted")),
              QStringList{QStringLiteral("interrupted The DICOM listener's process was ended by signal 9.")});
    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1) << "the association ends in a defined way";
    EXPECT_EQ(running.await(QStringLiteral("resumed")).size(), 1);
    EXPECT_EQ(running.scp().boundPort(), port);
    EXPECT_TRUE(running.scp().lastMessage().isEmpty());
    ScriptedModality after(port);
    after.associate(kOneContext);
    EXPECT_EQ(after.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 1000)), 0);
    after.release();
    EXPECT_EQ(running.await(QStringLiteral("complete")).size(), 1);
    EXPECT_EQ(running.stop(), 0);
}

TEST(DCMTKStoreSCP, AnObjectUnderWayIsKeptAndToldThoughTheListenerIsKilled)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    const std::string object = dataPdus(1, true, commandSet(1, 1, kCtStorage, "1.2.3")) +
                               dataPdus(1, false, smallDataSet(kCtStorage, "1.2.3", 100'000));
    modality.send(object.substr(0, object.size() / 2));
    running.await(QStringLiteral("started"));

    // The rest is sent at once, since the association waits five seconds for it, and a loaded machine may
    // need longer to start a listener.
    kill(running.scp().processId().value());
    modality.send(object.substr(object.size() / 2));

    EXPECT_EQ(modality.receiveStatus(), 0);
    EXPECT_EQ(running.await(QStringLiteral("resumed")).size(), 1);
    EXPECT_EQ(running.await(QStringLiteral("progress")).size(), 1);
    EXPECT_EQ(running.await(QStringLiteral("left files")).size(), 1) << "what it couldn't tell is looked for";
}

TEST(DCMTKStoreSCP, AnObjectOfWhichNothingWasReadYetIsKeptThoughItsAssociationIsToldToEnd)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    running.await(QStringLiteral("started"));
    const pid_t association = testing::childrenOf(running.scp().processId().value()).at(0);
    ::kill(association, SIGSTOP);
    const std::string object = dataPdus(1, true, commandSet(1, 1, kCtStorage, "1.2.3")) +
                               dataPdus(1, false, smallDataSet(kCtStorage, "1.2.3", 10'000));
    modality.send(object.substr(0, object.size() / 2));

    ::kill(association, SIGTERM);
    ::kill(association, SIGCONT);
    modality.send(object.substr(object.size() / 2));

    EXPECT_EQ(modality.receiveStatus(), 0);
    EXPECT_EQ(running.await(QStringLiteral("progress")).size(), 1);
    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1) << "and nothing more is taken";
}

TEST(DCMTKStoreSCP, ObjectsComeBehindWhatOthersAcknowledgedAlsoAfterTheListenerIsKilled)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path(), freeLoopbackPort());
    running.scp().acknowledgeAfter(kLongAhead);
    ::kill(running.scp().processId().value(), SIGKILL);
    ASSERT_EQ(running.await(QStringLiteral("resumed")).size(), 1);

    EXPECT_GT(timeOfObject(running), kLongAhead);
}

TEST(DCMTKStoreSCP, AListenerThatRunsLearnsWhatOthersAcknowledged)
{
    constexpr int kObjects = 1000; // while the word is on its way to the process
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ASSERT_LT(timeOfObject(running), kLongAhead);

    running.scp().acknowledgeAfter(kLongAhead);
    int objects = 1;
    while (timeOfObject(running) <= kLongAhead && objects < kObjects) {
        ++objects;
    }

    EXPECT_LT(objects, kObjects);
}

TEST(DCMTKStoreSCP, AHelperWithoutASignOfLifeIsKilledAndStartedAgain)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path(), 0, shortTimeouts());
    const pid_t stopped = running.scp().processId().value();

    ::kill(stopped, SIGSTOP);

    EXPECT_EQ(running.await(QStringLiteral("interrupted")),
              QStringList{QStringLiteral(
                  "interrupted The DICOM listener's process gave no sign of life and was ended.")});
    EXPECT_EQ(running.await(QStringLiteral("resumed")).size(), 1);
    EXPECT_NE(running.scp().processId(), stopped);
    EXPECT_EQ(::kill(stopped, 0), -1);
}

TEST(DCMTKStoreSCP, AStopWaitsForNobodyAndAStoppedHelperLetsGoOfThePortAllTheSame)
{
    const QTemporaryDir inbox;
    ListenerTimeouts timeouts = shortTimeouts();
    timeouts.signOfLife = std::chrono::hours(1);
    RunningStoreSCP first(inbox.path(), freeLoopbackPort(), timeouts);
    ::kill(first.scp().processId().value(), SIGSTOP);

    first.scp().stop(); // would hang here if it waited for the process
    first.scp().awaitFreePort();
    RunningStoreSCP second(inbox.path(), first.port());

    EXPECT_EQ(second.port(), first.port());
    EXPECT_EQ(first.join(), 0);
}

TEST(DCMTKStoreSCP, AStoppedAssociationOfAKilledListenerIsEndedToo)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path(), 0, shortTimeouts());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    running.await(QStringLiteral("started"));
    const pid_t listener = running.scp().processId().value();
    ::kill(testing::childrenOf(listener).at(0), SIGSTOP);

    ::kill(listener, SIGKILL);

    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1);
    EXPECT_EQ(running.await(QStringLiteral("left files")).size(), 1);
}

TEST(DCMTKStoreSCP, AnUnfinishedFileOfSomebodyElseGoesWhenItsWriterDoes)
{
    const QTemporaryDir inbox;
    ASSERT_TRUE(QDir(inbox.path()).mkdir(QStringLiteral(".part")));
    const QByteArray file = QFile::encodeName(inbox.filePath(QStringLiteral(".part/quorin-0123-1.part")));
    const int writer = ::open(file.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    ASSERT_EQ(::flock(writer, LOCK_EX), 0); // as an association that outlived its gateway
    RunningStoreSCP running(inbox.path());
    ASSERT_GT(running.port(), 0);
    EXPECT_TRUE(awaitUnfinished(inbox, true));

    ::close(writer);

    EXPECT_TRUE(awaitUnfinished(inbox, false));
}

TEST(DCMTKStoreSCP, FilesOfAKilledAssociationAreLookedFor)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    running.await(QStringLiteral("started"));

    ::kill(testing::childrenOf(running.scp().processId().value()).at(0), SIGKILL);

    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1);
    EXPECT_EQ(running.await(QStringLiteral("left files")).size(), 1);
    EXPECT_TRUE(running.await(QStringLiteral("interrupted"), 0).isEmpty());
}

TEST(DCMTKStoreSCP, TheProcessOfAnAssociationIsConfined)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    ASSERT_EQ(modality.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 1000)), 0);

    const pid_t child = testing::childrenOf(running.scp().processId().value()).at(0);
    const QByteArray status = testing::procFile(child, "status");
    const QByteArray limits = testing::procFile(child, "limits");

    EXPECT_TRUE(status.contains("NoNewPrivs:\t1"));
    EXPECT_TRUE(status.contains("Seccomp:\t2"));
    EXPECT_TRUE(limits.contains(QByteArray("Max core file size").leftJustified(26) + "0"));
    EXPECT_TRUE(limits.contains(QByteArray("Max open files").leftJustified(26) + "64"));
}

TEST(DCMTKStoreSCP, AnAssociationThatIsNotWantedIsEnded)
{
    const QTemporaryDir inbox;
    DCMTKStoreSCP scp(environment());
    StoreSCPCallbacks callbacks;
    callbacks.shouldAcceptAssoc = [] { return false; };
    callbacks.failed = [&scp](QString, QString why) {
        EXPECT_EQ(why, QStringLiteral("The association was ended by the gateway."));
        scp.stop();
    };
    std::thread thread([&] { EXPECT_EQ(scp.start(configFor(inbox.path(), 0), callbacks), 0); });

    ScriptedModality modality(scp.awaitPort().value());
    modality.associate(kOneContext);
    const auto ending = modality.receive();

    EXPECT_TRUE(!ending || ending->type == 7);
    thread.join();
}

} // namespace gateway::platform
