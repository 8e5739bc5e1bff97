#include "platform/dicom/helper_process.h"
#include "platform/dicom/inbox_files.h"
#include "platform/dicom/testing/running_store_scp.h"
#include "platform/dicom/testing/scripted_modality.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <list>
#include <thread>

#include <sys/resource.h>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;
using testing::associateRequest;
using testing::childrenOf;
using testing::commandSet;
using testing::dataPdus;
using testing::kCtStorage;
using testing::kExplicitLittleEndian;
using testing::kImplicitLittleEndian;
using testing::kVerification;
using testing::OfferedContext;
using testing::pdu;
using testing::RunningStoreSCP;
using testing::ScriptedModality;
using testing::smallDataSet;
using testing::subItem;

namespace {

const std::vector<OfferedContext> kOneContext{{1, kCtStorage, {kExplicitLittleEndian}}};
const std::string kPrivateClass = "1.3.6.1.4.1.99999.1";
const std::string kPrivateSyntax = "1.3.6.1.4.1.99999.2";

QByteArray contents(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

bool endsWith(const QString &path, const std::string &dataSet)
{
    return contents(path).endsWith(QByteArrayView(dataSet.data(), static_cast<qsizetype>(dataSet.size())));
}

/// The objects under way; the record of the order of acknowledgement lies beside them for good.
QStringList unfinished(const QTemporaryDir &inbox)
{
    QStringList files = QDir(inbox.filePath(QStringLiteral(".part"))).entryList(QDir::Files | QDir::Hidden);
    files.removeAll(QStringLiteral("order"));
    return files;
}

std::string half(const std::string &dataSet)
{
    const std::string all = dataPdus(1, false, dataSet);
    return all.substr(0, all.size() / 2);
}

std::string storeCommand()
{
    return dataPdus(1, true, commandSet(1, 1, kCtStorage, "1.2.3"));
}

} // namespace

TEST(Peers, MoreThan128ContextsAreAllTaken)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    std::vector<OfferedContext> contexts;
    contexts.reserve(256);
    for (int id = 0; id < 256; ++id) {
        contexts.push_back({static_cast<std::uint8_t>(id),
                            kPrivateClass + "." + std::to_string(id),
                            {kImplicitLittleEndian}});
    }

    const auto results = modality.associate(contexts);

    ASSERT_EQ(results.size(), 256U);
    for (const auto &[id, result] : results) {
        EXPECT_EQ(result, 0) << int(id);
    }
    EXPECT_EQ(modality.store(254, kPrivateClass + ".254", "1.2.3", "even"), 0);
    EXPECT_EQ(modality.store(255, kPrivateClass + ".255", "1.2.4", "odd"), 0);
    EXPECT_TRUE(modality.release());
}

TEST(Peers, APrivateClassInAnUnknownTransferSyntaxIsKeptAsItComes)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    const std::string bytes("whatever this vendor's \0 encoding is", 36);

    modality.associate({{1, kPrivateClass, {kPrivateSyntax}}});
    EXPECT_EQ(modality.transferSyntax(1), kPrivateSyntax);
    EXPECT_EQ(modality.store(1, kPrivateClass, "1.2.3", bytes), 0);
    modality.release();

    const QStringList files = completeInboxFiles(inbox.path());
    ASSERT_EQ(files.size(), 1);
    EXPECT_TRUE(endsWith(files.first(), bytes));
    EXPECT_TRUE(contents(files.first()).contains(kPrivateSyntax.c_str()));
}

TEST(Peers, RolesAsynchronousOperationsAndUnknownNegotiationDisturbNothing)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    const std::string ct = kCtStorage;
    const std::string role = std::string("\0\x19", 2) + ct + std::string("\1\1", 2);
    const std::string extended = std::string("\0\x19", 2) + ct + "\1\1\1";
    const std::string identity = std::string("\2\1\0\4user\0\6secret", 16);
    const std::string items = subItem(0x53, std::string("\0\x10\0\x10", 4)) + subItem(0x54, role) +
                              subItem(0x56, extended) + subItem(0x57, "what next") + subItem(0x58, identity) +
                              subItem(0xEE, "unheard of");

    const auto results = modality.associate(kOneContext, items);

    EXPECT_EQ(results.at(1), 0);
    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.3", "data"), 0);
    EXPECT_TRUE(modality.release());
    EXPECT_EQ(running.await(QStringLiteral("complete")).size(), 1);
}

TEST(Peers, PipelinedCommandsAreAnsweredInTurn)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    const std::string one = storeCommand() + dataPdus(1, false, "data");

    modality.send(one + one + one + pdu(5, std::string(4, '\0')));

    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(modality.receiveStatus(), 0);
    }
    EXPECT_EQ(modality.receive().value().type, 6);
    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 3);
}

TEST(Peers, ALargeDatasetIsKeptBitForBit)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    const std::string dataSet = smallDataSet(kCtStorage, "1.2.3", 20'000'000);

    modality.associate(kOneContext);
    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.3", dataSet, 131066), 0);

    EXPECT_TRUE(endsWith(completeInboxFiles(inbox.path()).value(0), dataSet));
}

TEST(Peers, ADripFeedingPeerDelaysNobody)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality slow(running.port());
    const std::string request = associateRequest(kOneContext);
    slow.send(request.substr(0, 3));

    ScriptedModality quick(running.port());
    quick.associate(kOneContext);
    EXPECT_EQ(quick.store(1, kCtStorage, "1.2.3", "data"), 0);
    EXPECT_TRUE(quick.release());

    slow.send(request.substr(3));
    EXPECT_EQ(slow.receive().value().type, 2);
    EXPECT_EQ(slow.store(1, kCtStorage, "1.2.3", "data"), 0);
}

TEST(Peers, TwentyAssociationsAtOnceLoseAndMixNothing)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    constexpr int kPeers = 20;
    constexpr int kObjects = 5;
    std::list<std::thread> peers;
    for (int peer = 0; peer < kPeers; ++peer) {
        peers.emplace_back([&running, peer] {
            ScriptedModality modality(running.port());
            modality.associate(kOneContext);
            for (int object = 0; object < kObjects; ++object) {
                const std::string uid = "1.2." + std::to_string(peer) + "." + std::to_string(object);
                EXPECT_EQ(modality.store(1, kCtStorage, uid, smallDataSet(kCtStorage, uid, 50000)), 0);
            }
            EXPECT_TRUE(modality.release());
        });
    }
    for (std::thread &peer : peers) {
        peer.join();
    }

    EXPECT_EQ(running.await(QStringLiteral("complete"), kPeers).size(), kPeers);
    EXPECT_EQ(running.await(QStringLiteral("progress")).size(), kPeers * kObjects);
    QSet<QByteArray> dataSets;
    for (const QString &path : completeInboxFiles(inbox.path())) {
        dataSets.insert(contents(path).last(50000 + 60));
    }
    EXPECT_EQ(dataSets.size(), kPeers * kObjects);
}

TEST(Peers, AnAbortInsideAnObjectLeavesNothingAndFails)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);

    modality.send(storeCommand() +
                  dataPdus(1, false, smallDataSet(kCtStorage, "1.2.3", 30000)).substr(0, 16012) +
                  pdu(7, std::string(4, '\0')));

    const QStringList failed = running.await(QStringLiteral("failed"));
    ASSERT_EQ(failed.size(), 1);
    EXPECT_TRUE(failed.first().endsWith(QStringLiteral("The peer aborted the association.")));
    EXPECT_TRUE(unfinished(inbox).isEmpty());
    EXPECT_TRUE(completeInboxFiles(inbox.path()).isEmpty());
}

TEST(Peers, AConnectionThatBreaksInsideAnObjectLeavesNothingAndFails)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);

    modality.send(storeCommand() + half(smallDataSet(kCtStorage, "1.2.3", 30000)));
    modality.close();

    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1);
    EXPECT_TRUE(unfinished(inbox).isEmpty());
    EXPECT_TRUE(completeInboxFiles(inbox.path()).isEmpty());
}

TEST(Peers, ASilentPeerIsAbortedAfterTheTimeOut)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path(), std::chrono::seconds(1));
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);

    EXPECT_EQ(modality.receive().value().type, 7);

    EXPECT_TRUE(running.await(QStringLiteral("failed")).value(0).endsWith(QStringLiteral("silent for 1 s.")));
}

TEST(Peers, AnAbortSaysWhetherThePduWasUnexpectedUnknownOrWrong)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    const auto abortFor = [&](const std::string &bytes) {
        ScriptedModality modality(running.port());
        modality.associate(kOneContext);
        modality.send(bytes);
        const auto abort = modality.receive();
        return abort && abort->type == 7 ? abort->body : std::string();
    };

    // The source is the service provider; the reasons are those of PS3.8 table 9-26.
    EXPECT_EQ(abortFor(pdu(0x01, std::string(68, '\0'))), std::string("\0\0\2\2", 4));
    EXPECT_EQ(abortFor(pdu(0x06, std::string(4, '\0'))), std::string("\0\0\2\2", 4));
    EXPECT_EQ(abortFor(pdu(0x99, "what")), std::string("\0\0\2\1", 4));
    EXPECT_EQ(abortFor(pdu(0x05, "short")), std::string("\0\0\2\6", 4));
}

TEST(Peers, AReleasedConnectionStaysUntilThePeerClosesIt)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);

    ASSERT_TRUE(modality.release());
    ASSERT_EQ(running.await(QStringLiteral("complete")).size(), 1);

    EXPECT_EQ(childrenOf(running.scp().processId().value()).size(), 1U);
    modality.close();
    while (!childrenOf(running.scp().processId().value()).empty()) {
        std::this_thread::yield();
    }
}

TEST(Peers, AProcessKilledInsideAnObjectCostsItsAssociationAlone)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality victim(running.port());
    victim.associate(kOneContext);
    victim.send(storeCommand() + half(smallDataSet(kCtStorage, "1.2.3", 30000)));
    running.await(QStringLiteral("started"));
    const std::vector<pid_t> children = childrenOf(running.scp().processId().value());
    ASSERT_EQ(children.size(), 1U);

    ::kill(children.front(), SIGKILL);

    const QStringList failed = running.await(QStringLiteral("failed"));
    ASSERT_EQ(failed.size(), 1);
    EXPECT_TRUE(failed.first().endsWith(QStringLiteral("ended unexpectedly (signal 9).")));
    EXPECT_TRUE(unfinished(inbox).isEmpty());
    ScriptedModality next(running.port());
    next.associate(kOneContext);
    EXPECT_EQ(next.store(1, kCtStorage, "1.2.4", "data"), 0);
}

TEST(Peers, BelowTheReserveObjectsAreRefusedAndTheAssociationLives)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path(), std::chrono::seconds(30), std::numeric_limits<qint64>::max());
    ScriptedModality modality(running.port());
    modality.associate(
        {{1, kCtStorage, {kExplicitLittleEndian}}, {3, kVerification, {kImplicitLittleEndian}}});

    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 300000)), 0xA700);
    EXPECT_EQ(modality.echo(3), 0);
    EXPECT_TRUE(modality.release());

    EXPECT_TRUE(running.await(QStringLiteral("failed"))
                    .value(0)
                    .endsWith(QStringLiteral("refused: 1 (No space left on device).")));
    EXPECT_TRUE(completeInboxFiles(inbox.path()).isEmpty());
    EXPECT_TRUE(unfinished(inbox).isEmpty());
}

TEST(Peers, AWriteThatFailsHalfWayIsRefusedAndTheNextObjectIsKept)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    const rlimit limit{100'000, 100'000};
    ASSERT_EQ(::prlimit(running.scp().processId().value(), RLIMIT_FSIZE, &limit, nullptr), 0);
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);

    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.3", smallDataSet(kCtStorage, "1.2.3", 300000)), 0xA700);
    EXPECT_EQ(modality.store(1, kCtStorage, "1.2.4", "small"), 0);

    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 1);
    EXPECT_TRUE(unfinished(inbox).isEmpty());
}

TEST(Peers, AnAssociationTooManyIsRejectedForNowAndTheOthersGoOn)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    const rlimit limit{32, 32}; // a quarter of them is the most at once, and half of that of one address
    ASSERT_EQ(::prlimit(running.scp().processId().value(), RLIMIT_NOFILE, &limit, nullptr), 0);
    std::list<ScriptedModality> most;
    for (int i = 0; i < 4; ++i) {
        most.emplace_back(running.port());
        EXPECT_EQ(most.back().associate(kOneContext).size(), 1U);
    }

    ScriptedModality tooMany(running.port());
    tooMany.send(associateRequest(kOneContext));
    const auto answer = tooMany.receive();

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, 3);
    EXPECT_EQ(answer->body, std::string("\0\2\3\2", 4));
    EXPECT_EQ(most.front().store(1, kCtStorage, "1.2.3", "data"), 0);
    EXPECT_TRUE(most.front().release());
    running.await(QStringLiteral("complete"));
}

TEST(Peers, AStopLetsAnObjectUnderWayFinish)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    const std::string dataSet = smallDataSet(kCtStorage, "1.2.3", 30000);
    const std::string bytes = dataPdus(1, false, dataSet);
    modality.send(storeCommand() + bytes.substr(0, 100));
    while (unfinished(inbox).isEmpty()) {
        std::this_thread::yield();
    }

    running.scp().stop();
    modality.send(bytes.substr(100));

    EXPECT_EQ(modality.receiveStatus(), 0);
    EXPECT_EQ(running.join(), 0);
    EXPECT_EQ(running.await(QStringLiteral("progress")).size(), 1);
    EXPECT_TRUE(
        running.await(QStringLiteral("failed")).value(0).endsWith(QStringLiteral("ended by the gateway.")));
    EXPECT_TRUE(endsWith(completeInboxFiles(inbox.path()).value(0), dataSet));
}

TEST(Peers, ADeathOfTheListenerLetsAnObjectUnderWayFinishInTheInbox)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());
    ScriptedModality modality(running.port());
    modality.associate(kOneContext);
    const std::string bytes = dataPdus(1, false, smallDataSet(kCtStorage, "1.2.3", 30000));
    modality.send(storeCommand() + bytes.substr(0, 100));
    while (unfinished(inbox).isEmpty()) {
        std::this_thread::yield();
    }

    ::kill(running.scp().processId().value(), SIGKILL);
    modality.send(bytes.substr(100));

    EXPECT_EQ(modality.receiveStatus(), 0);
    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1);
    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 1);
}

TEST(Peers, ADeathOfTheGatewayLeavesTheObjectUnderWayInTheInbox)
{
    const QTemporaryDir inbox;
    ASSERT_TRUE(QDir(inbox.path()).mkdir(QStringLiteral(".part"))); // whoever takes it into use makes it
    HelperProcess process(helperProgramPath(), QStringLiteral("scp"));
    process.channel().send(Record{
        "start",
        {{"bind", "127.0.0.1"}, {"port", "0"}, {"timeout", "30"}, {"inbox", inbox.path().toStdString()}}});
    Record listening;
    ASSERT_EQ(process.channel().receive(listening), Channel::Receipt::record);
    ScriptedModality modality(static_cast<int>(listening.number("port", 0)));
    modality.associate(kOneContext);
    const std::string bytes = dataPdus(1, false, smallDataSet(kCtStorage, "1.2.3", 30000));
    modality.send(storeCommand() + bytes.substr(0, 100));
    while (unfinished(inbox).isEmpty()) {
        std::this_thread::yield();
    }

    process.channel().close();
    modality.send(bytes.substr(100));

    EXPECT_EQ(modality.receiveStatus(), 0);
    EXPECT_EQ(process.wait(std::chrono::milliseconds(-1)), 0);
    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 1);
}

TEST(Peers, TheListenerMayNotRunOtherPrograms)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());

    const QByteArray status = testing::procFile(running.scp().processId().value(), "status");

    EXPECT_TRUE(status.contains("\nNoNewPrivs:\t1\n"));
    EXPECT_TRUE(status.contains("\nSeccomp:\t2\n")); // a filter stands
}

TEST(Peers, WhatACrashLeftUnfinishedIsSweptAndWhatWasAcknowledgedStays)
{
    const QTemporaryDir inbox;
    ASSERT_TRUE(QDir(inbox.path()).mkdir(QStringLiteral(".part")));
    const QString name = QStringLiteral("quorin-0123456789abcdef0123456789abcdef-1");
    for (const QString &path :
         {QStringLiteral(".part/") + name + QStringLiteral(".part"), name + QStringLiteral(".dcm")}) {
        QFile file(inbox.filePath(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    RunningStoreSCP running(inbox.path());

    EXPECT_TRUE(unfinished(inbox).isEmpty());
    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 1);
}

} // namespace gateway::platform
