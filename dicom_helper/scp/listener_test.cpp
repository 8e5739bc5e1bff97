#include "dicom_helper/scp/listener.h"

#include "platform/dicom/testing/scripted_modality.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <list>
#include <thread>

namespace gateway::dicom_helper::scp {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;
using platform::testing::associateRequest;
using platform::testing::kCtStorage;
using platform::testing::kImplicitLittleEndian;
using platform::testing::pdu;
using platform::testing::ScriptedModality;

namespace {

/// A listener on a thread of this process; for peers that never get as far as an association.
class ListenerOnThread
{
public:
    explicit ListenerOnThread(std::chrono::milliseconds requestDeadline)
        : m_ends(Channel::makePair()), m_inbox(inboxIn(m_folder)),
          m_listener({"127.0.0.1", 0, std::chrono::seconds(30), 0, requestDeadline}, m_inbox, m_ends.second),
          m_thread([this] { EXPECT_EQ(m_listener.run(), 0); })
    {
    }

    ~ListenerOnThread()
    {
        m_ends.first.close();
        m_thread.join();
    }

    int port() const { return m_listener.port(); }

private:
    static std::string inboxIn(const QTemporaryDir &folder)
    {
        EXPECT_TRUE(QDir(folder.path()).mkdir(QStringLiteral(".part")));
        return folder.path().toStdString();
    }

    QTemporaryDir m_folder;
    std::pair<Channel, Channel> m_ends;
    Inbox m_inbox;
    Listener m_listener;
    std::thread m_thread;
};

/// A connection of another address of this machine's.
platform::Descriptor connectFromElsewhere(int port)
{
    platform::Descriptor connection(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::inet_addr("127.0.0.2");
    EXPECT_EQ(::bind(connection.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    address.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    address.sin_port = ::htons(static_cast<std::uint16_t>(port));
    EXPECT_EQ(::connect(connection.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    return connection;
}

} // namespace

TEST(Listener, APeerThatDripFeedsItsRequestIsDroppedAtItsDeadline)
{
    ListenerOnThread listener(std::chrono::milliseconds(50));
    ScriptedModality modality(listener.port());

    modality.send(associateRequest({{1, kCtStorage, {kImplicitLittleEndian}}}).substr(0, 20));

    EXPECT_FALSE(modality.receive());
}

TEST(Listener, APeerThatSendsNothingIsDroppedAtItsDeadline)
{
    ListenerOnThread listener(std::chrono::milliseconds(50));
    ScriptedModality modality(listener.port());

    EXPECT_FALSE(modality.receive());
}

TEST(Listener, WhatIsNoRequestIsAborted)
{
    ListenerOnThread listener(std::chrono::minutes(1));
    const std::string huge("\1\0\x7F\xFF\xFF\xFF", 6);
    for (const std::string &bytes :
         {std::string("GET / HTTP/1.1\r\n\r\n"), pdu(4, "data"), huge, pdu(1, "short")}) {
        ScriptedModality modality(listener.port());

        modality.send(bytes);
        const auto answer = modality.receive();

        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->type, 7);
    }
}

TEST(Listener, AnotherProtocolVersionIsRejected)
{
    ListenerOnThread listener(std::chrono::minutes(1));
    ScriptedModality modality(listener.port());
    std::string request = associateRequest({{1, kCtStorage, {kImplicitLittleEndian}}});
    request[7] = 2;

    modality.send(request);
    const auto answer = modality.receive();

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, 3);
    EXPECT_EQ(answer->body, std::string("\0\1\2\2", 4));
}

TEST(Listener, AFloodOfConnectionsDropsTheOldestAndServesTheNewest)
{
    ListenerOnThread listener(std::chrono::minutes(1));
    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    const std::size_t more = std::min<std::size_t>(descriptors.rlim_cur / 4, 256) + 1;
    std::list<ScriptedModality> flood;
    for (std::size_t i = 0; i < more; ++i) {
        flood.emplace_back(listener.port());
    }

    EXPECT_FALSE(flood.front().receive());
    flood.back().send("not DICOM");
    EXPECT_TRUE(flood.back().receive());
}

TEST(Listener, WithFewDescriptorsOneAddressStillCannotPushAnotherOut)
{
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{64, before.rlim_max}; // a quarter of them is the most at once
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    {
        ListenerOnThread listener(std::chrono::minutes(1));
        ScriptedModality honest(listener.port());
        std::list<platform::Descriptor> crowd;
        for (int i = 0; i < 20; ++i) {
            crowd.push_back(connectFromElsewhere(listener.port()));
        }

        char byte = 0;
        EXPECT_EQ(::recv(crowd.front().get(), &byte, 1, 0), 0) << "the oldest of the crowd is closed";
        honest.send("not DICOM");
        EXPECT_TRUE(honest.receive());
    }
    ::setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace gateway::dicom_helper::scp
