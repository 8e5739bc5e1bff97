#include "platform/sockets/listening_socket.h"

#include "platform/sockets/testing/plain_client.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {
namespace {

TEST(SocketAddress, IsANumericAddressAndAPort)
{
    EXPECT_EQ(parseSocketAddress(u"127.0.0.1:9464"_qs)->host, u"127.0.0.1"_qs);
    EXPECT_EQ(parseSocketAddress(u"127.0.0.1:9464"_qs)->port, 9464);
    EXPECT_EQ(parseSocketAddress(u"[::1]:0"_qs)->host, u"::1"_qs);
}

TEST(SocketAddress, IsNothingElse)
{
    for (const QString &text : {u""_qs,
                                u"9464"_qs,
                                u":9464"_qs,
                                u"localhost:9464"_qs,
                                u"127.0.0.1"_qs,
                                u"127.0.0.1:"_qs,
                                u"127.0.0.1:65536"_qs,
                                u"127.0.0.256:1"_qs,
                                u"::1:9464"_qs,
                                u"[127.0.0.1]:1x"_qs,
                                u"127.0.0.1:9464\n"_qs}) {
        EXPECT_FALSE(parseSocketAddress(text).has_value()) << text.toStdString();
    }
}

TEST(ListeningSocket, SaysWhyItCannotListen)
{
    const ListeningSocket first = ListeningSocket::onAddress({u"127.0.0.1"_qs, 0});
    EXPECT_GT(first.port(), 0);

    try {
        ListeningSocket::onAddress({u"127.0.0.1"_qs, first.port()});
        ADD_FAILURE() << "the port was taken twice";
    } catch (const SocketError &error) {
        EXPECT_TRUE(error.message.startsWith(u"The address 127.0.0.1 port "_qs));
        EXPECT_TRUE(error.message.endsWith(u'.'));
    }
    EXPECT_THROW(ListeningSocket::onPath(u"/nonexistent/folder/socket"_qs), SocketError);
}

TEST(ListeningSocket, TakesThePlaceOfADeadOne)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"socket"_qs);
    QFile dead(path);
    ASSERT_TRUE(dead.open(QIODevice::WriteOnly));

    const ListeningSocket socket = ListeningSocket::onPath(path);

    const testing::PlainClient client(path);
    EXPECT_EQ(socket.port(), 0);
}

TEST(ListeningSocket, ListensInAFolderWithALongPath)
{
    const QTemporaryDir folder;
    const QString deep = folder.filePath(QString(180, u'd'));
    ASSERT_TRUE(QDir().mkpath(deep));

    const ListeningSocket socket = ListeningSocket::onPath(deep + u"/socket"_qs);

    const testing::PlainClient client(deep + u"/socket"_qs);
}

} // namespace
} // namespace gateway::platform
