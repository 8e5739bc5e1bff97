#include "cloud/program_test/cloud_fixture.h"

#include <QtCore/QUrl>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway::cloud::testing {
namespace {

/// Requests that no proper client would send.
class RawHttp : public CloudTest
{
protected:
    /// Sends bytes and ends the sending side. \return all that comes back until the server closes.
    QByteArray exchange(const QByteArray &bytes) const
    {
        const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(QUrl(m_cloud.url()).port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        QByteArray answer;
        if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
            send(connection, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
            shutdown(connection, SHUT_WR);
            char buffer[4096];
            for (ssize_t got = 0; (got = recv(connection, buffer, sizeof buffer, 0)) > 0;) {
                answer.append(buffer, got);
            }
        }
        close(connection);
        return answer;
    }
};

const QByteArray kPing = "GET /api/v1/ping HTTP/1.1\r\nHost: x\r\n\r\n";

TEST_F(RawHttp, AnswersPipelinedRequestsInTurn)
{
    EXPECT_EQ(exchange(kPing + kPing).count("204 No Content"), 2);
}

TEST_F(RawHttp, AnswersNothingBehindAMalformedHead)
{
    const QByteArray answer = exchange("NONSENSE\r\n\r\n" + kPing);

    EXPECT_EQ(answer.count("HTTP/1.1 "), 1);
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 400"));
}

TEST_F(RawHttp, TakesNoRequestOutOfABodyThatItRefused)
{
    const QByteArray hidden = QByteArray(300'000, ' ') + kPing;
    const QByteArray head =
        "POST /nowhere HTTP/1.1\r\nHost: x\r\nContent-Length: " + QByteArray::number(hidden.size());

    const QByteArray answer = exchange(head + "\r\n\r\n" + hidden);

    EXPECT_EQ(answer.count("HTTP/1.1 "), 1);
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 404"));
    EXPECT_TRUE(answer.contains("Connection: close"));
}

TEST_F(RawHttp, RefusesABrokenChunkedBody)
{
    const QByteArray head =
        "POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n";

    EXPECT_TRUE(exchange(head + "zz\r\n").startsWith("HTTP/1.1 400"));
    EXPECT_TRUE(exchange(head + "5\r\nab").startsWith("HTTP/1.1 400"));
}

TEST_F(RawHttp, TellsABodyToGoOnWhenAsked)
{
    const QByteArray head = "POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\n"
                            "Content-Length: 2\r\n\r\n{}";

    const QByteArray answer = exchange(head);

    EXPECT_TRUE(answer.startsWith("HTTP/1.1 100 "));
    EXPECT_TRUE(answer.contains("HTTP/1.1 422"));
}

} // namespace
} // namespace gateway::cloud::testing
