#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/sockets/testing/loopback_port.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QUrl>

#include <functional>
#include <optional>
#include <thread>
#include <vector>

namespace gateway::cloud_client::testing {

/// A request as it came in.
struct ReceivedRequest
{
    QByteArray method;
    QByteArray target;                    ///< path and query
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;                      ///< its start, at most `kKeptBody` bytes
    qint64 bodySize = 0;
    int connection = 0; ///< counts from 1

    bool is(const char *wantedMethod, const char *wantedTarget) const
    {
        return method == wantedMethod && target == wantedTarget;
    }
};

/// An HTTP/1.1 server on a free loopback port that answers each request with the bytes a test wants, odd
/// ones included. Connections stay open between requests.
///
/// Thread: any; handlers run on the connection's thread.
class ScriptedHttpServer
{
public:
    static constexpr qint64 kKeptBody = 4 << 20;

    /// The whole answer as raw bytes; empty bytes close the connection without a word.
    using Handler = std::function<QByteArray(const ReceivedRequest &)>;

    /// When the handler is asked: with the whole request, or as soon as its head is there; the answer then
    /// comes before the body is over, and ends the connection.
    enum class Moment
    {
        afterBody,
        afterHead
    };

    /// How an answer goes out: at once, or, after its head, byte by byte, ten in a second, until the other
    /// side has had enough.
    enum class Pace
    {
        atOnce,
        dripping
    };

    explicit ScriptedHttpServer(Handler handler, Moment moment = Moment::afterBody, Pace pace = Pace::atOnce);

    /// Closes all connections and waits for their threads; a handler must not be waiting for the test then.
    ~ScriptedHttpServer();

    ScriptedHttpServer(const ScriptedHttpServer &) = delete;
    ScriptedHttpServer &operator=(const ScriptedHttpServer &) = delete;

    QUrl url() const;
    QList<ReceivedRequest> requests() const;
    int connectionCount() const;

    /// A well-formed answer with a body of known length.
    static QByteArray answer(int status,
                             const QByteArray &contentType = {},
                             const QByteArray &body = {},
                             const QByteArray &extraHeaders = {});

private:
    void acceptLoop();
    void serve(int socket, int connection);
    bool sendAnswer(int socket, const QByteArray &bytes) const;
    QByteArray answerTo(const ReceivedRequest &request);

    const Handler m_handler;
    const Moment m_moment;
    const Pace m_pace;
    const platform::testing::LoopbackPort m_listener{platform::testing::LoopbackPort::Use::listening};
    mutable platform::Mutex m_mutex;
    QList<ReceivedRequest> m_requests QUORIN_GUARDED_BY(m_mutex);
    std::vector<int> m_sockets QUORIN_GUARDED_BY(m_mutex);
    std::vector<std::thread> m_threads QUORIN_GUARDED_BY(m_mutex);
    std::thread m_acceptor; // last: starts once the fields above stand
};

} // namespace gateway::cloud_client::testing
