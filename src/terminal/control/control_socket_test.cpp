#include "terminal/control/control_client.h"
#include "terminal/control/control_server.h"

#include "platform/sockets/unix_socket_address.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::terminal {
namespace {

constexpr std::chrono::seconds kAnswerTimeout{60};

/// Runs `work` beside the event loop of this thread until it has returned.
void runBeside(const std::function<void()> &work)
{
    std::atomic<bool> ended = false;
    std::thread thread([&] {
        work();
        ended = true;
    });
    while (!ended) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    thread.join();
}

/// A caller that sends whatever it likes and hears whatever comes, up to the end.
QByteArray converse(const QString &path, const QByteArray &bytes)
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const platform::UnixSocketAddress address(path);
    EXPECT_EQ(::connect(descriptor, address.address(), address.size()), 0);
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(descriptor,
                                     bytes.constData() + sent,
                                     static_cast<std::size_t>(bytes.size() - sent),
                                     MSG_NOSIGNAL);
        if (count <= 0) {
            break;
        }
        sent += count;
    }
    ::shutdown(descriptor, SHUT_WR);
    QByteArray heard;
    char chunk[512];
    ssize_t count = 0;
    while ((count = ::recv(descriptor, chunk, sizeof(chunk), 0)) > 0) {
        heard.append(chunk, count);
    }
    ::close(descriptor);
    return heard;
}

class ControlSocket : public ::testing::Test
{
protected:
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"control.socket"_qs);
};

ControlServer::Handler echo()
{
    return [](const ControlRequest &request, const ControlServer::Answer &answer) {
        answer(ControlReply::success({{u"heard"_qs, request.command}}));
    };
}

TEST_F(ControlSocket, AnswersARequest)
{
    const ControlServer server(m_path, echo());

    std::optional<ControlReply> reply;
    runBeside([&] { reply = askInstance(m_path, {u"status"_qs, {}}, kAnswerTimeout); });

    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->result.value(u"heard"_qs).toString(), u"status"_qs);
}

TEST_F(ControlSocket, TellsTheHandlerThatItsCallerHasHungUp)
{
    std::stop_token hungUp;
    bool isAsked = false;
    const ControlServer server(m_path, [&](const ControlRequest &request, const ControlServer::Answer &) {
        hungUp = request.hungUp;
        isAsked = true;
    });
    const int caller = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const platform::UnixSocketAddress address(m_path);
    ASSERT_EQ(::connect(caller, address.address(), address.size()), 0);
    const QByteArray line = encode(ControlRequest{u"doctor"_qs, {}}) + "and more that nobody reads";
    ASSERT_EQ(::send(caller, line.constData(), static_cast<std::size_t>(line.size()), MSG_NOSIGNAL),
              line.size());
    while (!isAsked) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    EXPECT_FALSE(hungUp.stop_requested());

    ::close(caller);
    while (!hungUp.stop_requested()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    EXPECT_TRUE(hungUp.stop_requested());
}

TEST_F(ControlSocket, DoesNotTakeACallerForGoneThatOnlyHasNothingMoreToSay)
{
    ControlServer::Answer waiting;
    std::stop_token hungUp;
    const ControlServer server(m_path, [&](const ControlRequest &request, ControlServer::Answer answer) {
        waiting = std::move(answer);
        hungUp = request.hungUp;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [&] {
                QCoreApplication::processEvents(); // the end of what it says arrives
                EXPECT_FALSE(hungUp.stop_requested());
                waiting(ControlReply::success());
            },
            Qt::QueuedConnection);
    });

    QByteArray heard;
    runBeside([&] { heard = converse(m_path, encode(ControlRequest{u"status"_qs, {}})); });

    EXPECT_TRUE(decodeReply(heard.trimmed()).has_value());
}

TEST_F(ControlSocket, AnswersLaterToo)
{
    ControlServer::Answer waiting;
    const ControlServer server(m_path, [&](const ControlRequest &, ControlServer::Answer answer) {
        waiting = std::move(answer);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [&] { waiting(ControlReply::failure(u"Not today."_qs)); },
            Qt::QueuedConnection);
    });

    std::optional<ControlReply> reply;
    runBeside([&] { reply = askInstance(m_path, {u"upload"_qs, {}}, kAnswerTimeout); });

    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->code, ExitCode::failed);
    EXPECT_EQ(reply->error, u"Not today."_qs);
}

TEST_F(ControlSocket, DropsTheAnswerForACallerThatHasGone)
{
    ControlServer::Answer waiting;
    const ControlServer server(
        m_path, [&](const ControlRequest &, ControlServer::Answer answer) { waiting = std::move(answer); });
    std::optional<ControlReply> reply;
    runBeside([&] {
        reply = askInstance(m_path, {u"upload"_qs, {}}, std::chrono::milliseconds(1));
        ASSERT_TRUE(reply.has_value());
    });
    while (!waiting) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    waiting(ControlReply::success());

    EXPECT_EQ(reply->code, ExitCode::failed);
}

TEST_F(ControlSocket, TellsThatNoInstanceRuns)
{
    EXPECT_FALSE(askInstance(m_path, {u"status"_qs, {}}, kAnswerTimeout).has_value());
}

TEST_F(ControlSocket, IsForItsUserAlone)
{
    const ControlServer server(m_path, echo());

    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ControlSocket, TakesThePlaceOfADeadInstancesSocket)
{
    QFile stale(m_path);
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();

    const ControlServer server(m_path, echo());

    std::optional<ControlReply> reply;
    runBeside([&] { reply = askInstance(m_path, {u"status"_qs, {}}, kAnswerTimeout); });
    EXPECT_TRUE(reply.has_value());
}

TEST_F(ControlSocket, WorksBelowAPathLongerThanASocketAddress)
{
    const QString deep = m_folder.filePath(QString(60, u'a') + u'/' + QString(60, u'b'));
    ASSERT_TRUE(QDir().mkpath(deep));
    const QString path = deep + u"/control.socket"_qs;

    const ControlServer server(path, echo());

    std::optional<ControlReply> reply;
    runBeside([&] { reply = askInstance(path, {u"status"_qs, {}}, kAnswerTimeout); });
    EXPECT_TRUE(reply.has_value());
}

TEST_F(ControlSocket, OutlivesCallersThatSendGarbage)
{
    const ControlServer server(m_path, echo());

    QList<QByteArray> heard;
    std::optional<ControlReply> reply;
    runBeside([&] {
        for (const QByteArray &garbage : {QByteArray(""),
                                          QByteArray("\n"),
                                          QByteArray("no json\n"),
                                          QByteArray(300, '\0') + '\n',
                                          QByteArray(kMaxControlLine * 3, 'x'),
                                          QByteArray("{\"command\":\"half")}) {
            heard.append(converse(m_path, garbage));
        }
        reply = askInstance(m_path, {u"status"_qs, {}}, kAnswerTimeout);
    });

    EXPECT_TRUE(heard.at(0).isEmpty());
    EXPECT_TRUE(heard.at(1).contains("\"code\":2"));
    EXPECT_TRUE(heard.at(2).contains("\"code\":2"));
    EXPECT_TRUE(heard.at(3).contains("\"code\":2"));
    EXPECT_TRUE(heard.at(4).isEmpty());
    EXPECT_TRUE(heard.at(5).isEmpty());
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->code, ExitCode::done);
}

TEST_F(ControlSocket, SaysWhereItCannotListen)
{
    EXPECT_THROW(ControlServer(m_folder.filePath(u"missing/control.socket"_qs), echo()),
                 platform::SocketError);
}

} // namespace
} // namespace gateway::terminal
