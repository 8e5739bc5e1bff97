#include "updates/appcast_source.h"

#include "cloud_client/testing/scripted_http_server.h"
#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>

namespace gateway::updates::testing {

namespace {

using cloud_client::testing::ReceivedRequest;
using cloud_client::testing::ScriptedHttpServer;

const QByteArray kPackage = [] {
    QByteArray bytes;
    for (int at = 0; at < 50'000; ++at) {
        bytes.append(QByteArray::number(at));
    }
    return bytes;
}();

/// How a web server gives a file.
enum class Manner
{
    ranges,     ///< from the byte on that was asked for
    wholeOnly,  ///< from the first byte on, whatever was asked for
    otherRange, ///< from another byte than the one that was asked for
    notBeyond,  ///< no range at all is satisfiable
    cut,        ///< the connection ends in the middle
    shorter,    ///< less than was signed, as if whole
    longer,     ///< more than was signed
    other,      ///< other bytes of the same length
    page,       ///< a page to sign in at, with status 200
    missing,    ///< 404
    elsewhere   ///< a redirect
};

/// A web server with a feed and a package.
struct UpdateServer
{
    QByteArray answerTo(const ReceivedRequest &request)
    {
        if (request.target == "/feed.json" || request.method == "CONNECT") {
            return feedAnswer;
        }
        lastRange = request.headers.value("range");
        lastEncoding = request.headers.value("accept-encoding");
        return packageAnswer();
    }

    QByteArray packageAnswer() const
    {
        const auto whole = [](int status, const QByteArray &body, const QByteArray &more = {}) {
            return ScriptedHttpServer::answer(status, "application/octet-stream", body, more);
        };
        const qint64 from = lastRange.mid(6).chopped(lastRange.isEmpty() ? 0 : 1).toLongLong();
        const auto range = [](qint64 first) {
            return "Content-Range: bytes " + QByteArray::number(first) + '-' +
                   QByteArray::number(kPackage.size() - 1) + '/' + QByteArray::number(kPackage.size()) +
                   "\r\n";
        };
        switch (manner) {
        case Manner::ranges:
            return lastRange.isEmpty() ? whole(200, kPackage) : whole(206, kPackage.mid(from), range(from));
        case Manner::wholeOnly:
            return whole(200, kPackage);
        case Manner::otherRange:
            return lastRange.isEmpty() ? whole(200, kPackage)
                                       : whole(206, kPackage.mid(from - 1), range(from - 1));
        case Manner::notBeyond:
            return lastRange.isEmpty() ? whole(200, kPackage) : whole(416, "no");
        case Manner::cut:
            return whole(200, kPackage).chopped(kPackage.size() / 2);
        case Manner::shorter:
            return whole(200, kPackage.chopped(1));
        case Manner::longer:
            return whole(200, kPackage + 'x');
        case Manner::other:
            return whole(200, QByteArray(kPackage.size(), 'x'));
        case Manner::page:
            return ScriptedHttpServer::answer(200, "text/html", "<html>Sign in</html>");
        case Manner::missing:
            return whole(404, "none");
        case Manner::elsewhere:
            return whole(302, {}, "Location: https://updates.example/\r\n");
        }
        Q_UNREACHABLE();
    }

    QByteArray feedAnswer;
    std::atomic<Manner> manner = Manner::ranges;
    QByteArray lastRange;
    QByteArray lastEncoding;
};

struct AppcastSources : ::testing::Test
{
    AppcastSources()
    {
        item = itemFor(kPackage);
        item.url = server.url();
        item.url.setPath(u"/package"_qs);
        item = key.signedItem(item);
        feed(feedOf(QList{item}));
    }

    void feed(const QByteArray &body, int status = 200, const QByteArray &type = "application/json")
    {
        web.feedAnswer = ScriptedHttpServer::answer(status, type, body);
    }

    AppcastSource::Place place() const
    {
        QUrl url = server.url();
        url.setPath(u"/feed.json"_qs);
        return {.feed = url, .reach = {}, .folder = folder.path()};
    }

    OwnBuild build() const
    {
        return {.versionString = u"1.0"_qs,
                .kind = PackageKind::appImage,
                .architecture = u"x86_64"_qs,
                .publicKey = key.publicKey()};
    }

    QString fetch()
    {
        return source.fetch(item, [this](qint64 bytes) { received.append(bytes); }, {});
    }

    std::optional<UpdateFailure> fetchFailure()
    {
        return failureOf([this] { fetch(); });
    }

    std::optional<UpdateFailure> feedFailure()
    {
        return failureOf([this] { source.newerItem({}); });
    }

    /// Fetches half of the package.
    void fetchHalf()
    {
        web.manner = Manner::cut;
        EXPECT_EQ(fetchFailure(), UpdateFailure::notReachable);
        EXPECT_EQ(received.last(), kPackage.size() - kPackage.size() / 2);
        received.clear();
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing there");
    }

    bool isFolderEmpty() const { return QDir(folder.path()).isEmpty(QDir::Files | QDir::Hidden); }

    SigningKey key;
    UpdateServer web;
    // Each answer ends its connection, so that one can end too early.
    ScriptedHttpServer server{[this](const ReceivedRequest &request) { return web.answerTo(request); },
                              ScriptedHttpServer::Moment::afterHead};
    QTemporaryDir folder;
    AppcastItem item;
    QList<qint64> received;
    AppcastSource source{place(), build()};
};

} // namespace

// --- The feed ----------------------------------------------------------------------------------------------

TEST_F(AppcastSources, FindANewerBuild)
{
    EXPECT_EQ(source.newerItem({}), item);
}

TEST_F(AppcastSources, FindNothingInAFeedOfOldBuilds)
{
    AppcastItem old = item;
    old.versionString = u"0.9"_qs;
    AppcastItem same = item;
    same.versionString = u"1.0"_qs;
    feed(feedOf(QList{key.signedItem(old), key.signedItem(same)}));

    EXPECT_EQ(source.newerItem({}), std::nullopt);
}

TEST_F(AppcastSources, TakeNoFeedThatIsSignedByAnotherKey)
{
    feed(feedOf(QList{SigningKey().signedItem(item)}));

    EXPECT_EQ(feedFailure(), UpdateFailure::badSignature);
}

TEST_F(AppcastSources, TellAPageAndGarbageFromAFeed)
{
    feed("<html><body>Sign in to the guest network</body></html>", 200, "text/html");
    EXPECT_EQ(feedFailure(), UpdateFailure::noFeed);

    feed("\x01\x02\x03\xff");
    EXPECT_EQ(feedFailure(), UpdateFailure::noFeed);
}

TEST_F(AppcastSources, ReadNoMoreOfAFeedThanTheLargest)
{
    feed(QByteArray(kLargestFeed + 1, ' '));

    EXPECT_EQ(feedFailure(), UpdateFailure::noFeed);
}

TEST_F(AppcastSources, TakeNoOtherStatusAndNoRedirectForAFeed)
{
    for (const int status : {302, 404, 500}) {
        feed(feedOf(QList{item}), status);

        EXPECT_EQ(feedFailure(), UpdateFailure::refused) << status;
    }
}

TEST_F(AppcastSources, SayThatNobodyAnswers)
{
    web.feedAnswer.clear();

    EXPECT_EQ(feedFailure(), UpdateFailure::notReachable);
}

TEST_F(AppcastSources, GoThroughTheProxyOfTheCloud)
{
    web.feedAnswer = ScriptedHttpServer::answer(403);
    AppcastSource::Place elsewhere = place();
    elsewhere.feed = QUrl(u"https://updates.example/feed.json"_qs);
    elsewhere.reach.proxy = server.url().toString();
    AppcastSource proxied(elsewhere, build());

    EXPECT_EQ(failureOf([&] { proxied.newerItem({}); }), UpdateFailure::notReachable);

    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests().first().method, "CONNECT");
}

// --- The package -------------------------------------------------------------------------------------------

TEST_F(AppcastSources, FetchAPackageWholeAsItIsOnTheServer)
{
    EXPECT_EQ(read(fetch()), kPackage);

    EXPECT_EQ(web.lastEncoding, "identity");
    EXPECT_EQ(web.lastRange, "");
    EXPECT_EQ(received.first(), 0);
    EXPECT_EQ(received.last(), kPackage.size());
}

TEST_F(AppcastSources, GoOnWhereAConnectionBroke)
{
    fetchHalf();
    web.manner = Manner::ranges;

    EXPECT_EQ(read(fetch()), kPackage);

    EXPECT_EQ(web.lastRange, "bytes=" + QByteArray::number(kPackage.size() - kPackage.size() / 2) + "-");
    EXPECT_EQ(received.first(), kPackage.size() - kPackage.size() / 2);
}

TEST_F(AppcastSources, BeginAnewWhereTheServerDoesNotGoOn)
{
    for (const Manner manner : {Manner::wholeOnly, Manner::otherRange, Manner::notBeyond}) {
        fetchHalf();
        web.manner = manner;
        const QString path = fetch();

        EXPECT_EQ(read(path), kPackage);
        QFile::remove(path);
    }
}

TEST_F(AppcastSources, AskForNothingWhenAllIsThere)
{
    fetch();
    const qsizetype before = server.requests().size();

    EXPECT_EQ(read(fetch()), kPackage);

    EXPECT_EQ(server.requests().size(), before);
}

TEST_F(AppcastSources, KeepNothingThatIsNotWhatWasSigned)
{
    for (const Manner manner : {Manner::shorter, Manner::longer, Manner::other, Manner::page}) {
        web.manner = manner;
        EXPECT_EQ(fetchFailure(), UpdateFailure::damaged) << static_cast<int>(manner);
        web.manner = Manner::ranges;
        const QString path = fetch();
        EXPECT_EQ(web.lastRange, "") << static_cast<int>(manner);
        EXPECT_EQ(read(path), kPackage);
        QFile::remove(path);
    }
}

TEST_F(AppcastSources, NoticeABeginningThatWasChangedMeanwhile)
{
    fetchHalf();
    const QString part = QDir(folder.path()).entryInfoList(QDir::Files | QDir::Hidden).first().filePath();
    QFile file(part);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write("changed");
    file.close();
    web.manner = Manner::ranges;

    EXPECT_EQ(fetchFailure(), UpdateFailure::damaged);

    EXPECT_TRUE(isFolderEmpty());
    EXPECT_EQ(read(fetch()), kPackage);
}

TEST_F(AppcastSources, KeepWhatIsThereWhenTheServerRefuses)
{
    fetchHalf();
    for (const Manner manner : {Manner::missing, Manner::elsewhere}) {
        web.manner = manner;
        EXPECT_EQ(fetchFailure(), UpdateFailure::refused);
    }
    web.manner = Manner::ranges;

    EXPECT_EQ(read(fetch()), kPackage);

    EXPECT_FALSE(web.lastRange.isEmpty());
}

TEST_F(AppcastSources, EndWhenTheyAreToldTo)
{
    std::stop_source stop;
    stop.request_stop();

    EXPECT_EQ(failureOf([&] { source.newerItem(stop.get_token()); }), UpdateFailure::ended);
    EXPECT_EQ(failureOf([&] { source.fetch(item, [](qint64) {}, stop.get_token()); }), UpdateFailure::ended);
}

} // namespace gateway::updates::testing
