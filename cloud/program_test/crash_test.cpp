#include "cloud/program_test/cloud_fixture.h"

#include <latch>
#include <thread>
#include <vector>

namespace gateway::cloud::testing {
namespace {

class Crash : public CloudTest
{
protected:
    Crash() : CloudTest(true) {}
};

TEST_F(Crash, LosesNothingThatWasAnsweredAndKeepsNothingHalf)
{
    HttpClient session(m_cloud.url());
    session.withBasic(kEmail, kPassword);
    QStringList answered;
    for (int i = 0; i < 5; ++i) {
        answered += uidsIn(upload(session, {sampleFile(sampleNumber(i)), sampleFile(sampleNumber(100 + i))}),
                           kReferenced);
    }
    ASSERT_EQ(answered.size(), 10);
    const QByteArray body = multipartBody({sampleFile(sampleNumber(200)), QByteArray(5'000'000, 'x')});

    // The third call comes when what the first two gave is on its way.
    int calls = 0;
    qsizetype sent = 0;
    session.stream(kStudies, kMultipartType, body.size(), [&](char *target, std::size_t size) {
        if (++calls == 3) {
            m_cloud.kill();
        }
        const qsizetype count = std::min(static_cast<qsizetype>(size), body.size() - sent);
        std::copy_n(body.constData() + sent, count, target);
        sent += count;
        return static_cast<std::size_t>(count);
    });
    ASSERT_TRUE(m_cloud.start());

    HttpClient again(m_cloud.url());
    again.withBasic(kEmail, kPassword);
    EXPECT_EQ(instanceCount(), 10);
    for (const QString &uid : answered) {
        const QString path = kStudies + QStringLiteral("/1.2.3/series/1.2.3.1/instances/") + uid;
        const QByteArray file = sampleFile(sampleNumber(uid.section(u'.', -1).toInt()));
        EXPECT_TRUE(again.get(path).body.contains(file)) << uid.toStdString();
    }
    EXPECT_EQ(filesIn(QStringLiteral("instances")), 10);
    EXPECT_EQ(filesIn(QStringLiteral("incoming")), 0);
}

TEST_F(Crash, UnderManySendersLosesNothingThatWasAnswered)
{
    constexpr int kSenders = 4;
    constexpr int kEnough = 5;
    std::latch enough(kSenders);
    std::vector<QStringList> answered(kSenders);
    std::vector<std::thread> senders;
    senders.reserve(kSenders);
    const QString url = m_cloud.url();
    for (int sender = 0; sender < kSenders; ++sender) {
        senders.emplace_back([&, sender] {
            HttpClient session(url);
            session.withBasic(kEmail, kPassword);
            QStringList &uids = answered[static_cast<std::size_t>(sender)];
            bool alive = true;
            for (int i = 0; alive; ++i) {
                const HttpAnswer answer = upload(session, {sampleFile(sampleNumber(sender * 100'000 + i))});
                uids += uidsIn(answer, kReferenced);
                alive = answer.status == 200;
                if (i + 1 == kEnough || (!alive && i + 1 < kEnough)) {
                    enough.count_down();
                }
            }
        });
    }
    enough.wait();
    m_cloud.kill();
    for (std::thread &sender : senders) {
        sender.join();
    }
    ASSERT_TRUE(m_cloud.start());

    QStringList stored;
    const QJsonArray list = control(QStringLiteral("instances")).array();
    for (const auto &instance : list) {
        stored.append(instance.toObject().value(QStringLiteral("sopInstanceUID")).toString());
    }
    for (const QStringList &uids : answered) {
        EXPECT_GE(uids.size(), kEnough);
        for (const QString &uid : uids) {
            EXPECT_TRUE(stored.contains(uid)) << uid.toStdString();
        }
    }
    EXPECT_EQ(filesIn(QStringLiteral("instances")), stored.size());
}

TEST(QuorinCloud, ServesOverTls)
{
    QTemporaryDir folder;
    const QString certificate = folder.filePath(QStringLiteral("cert.pem"));
    const QString key = folder.filePath(QStringLiteral("key.pem"));
    const QString options = QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
                                           " -subj /CN=localhost -addext subjectAltName=IP:127.0.0.1");
    ChildProgram openssl;
    ASSERT_TRUE(
        openssl.start(QStringList{QStringLiteral("openssl")} + options.split(u' ') +
                      QStringList{QStringLiteral("-keyout"), key, QStringLiteral("-out"), certificate}));
    ASSERT_EQ(openssl.wait(), 0) << openssl.standardError().toStdString();
    CloudProcess cloud(QStringLiteral(QUORIN_CLOUD_PROGRAM), {QStringLiteral("--tls"), certificate, key});
    ASSERT_TRUE(cloud.start()) << cloud.standardError().toStdString();
    Sample large;
    large.pixels = QByteArray(3'000'000, 'x');

    HttpClient trusting(cloud.url());
    trusting.withCertificate(certificate);
    const HttpAnswer stored =
        trusting.send("POST", kStudies, kMultipartType, multipartBody({sampleFile(large)}));
    const HttpAnswer retrieved = trusting.get(kStudies + QStringLiteral("/1.2.3"));
    const HttpAnswer plain =
        HttpClient(cloud.url().replace(QStringLiteral("https"), QStringLiteral("http"))).get(kStudies);

    EXPECT_TRUE(cloud.url().startsWith(QStringLiteral("https://127.0.0.1:")));
    EXPECT_EQ(stored.status, 200);
    EXPECT_TRUE(stored.body.contains("https://127.0.0.1"));
    EXPECT_TRUE(retrieved.body.contains(sampleFile(large)));
    EXPECT_NE(plain.curlCode, 0);
    EXPECT_NE(HttpClient(cloud.url()).get(kStudies).curlCode, 0);
    EXPECT_EQ(cloud.stop(), 0);
}

TEST(QuorinCloud, IsOpenOnThisMachineWhileItHasNoUsersAndHidesControlUnlessAsked)
{
    CloudProcess cloud(QStringLiteral(QUORIN_CLOUD_PROGRAM), {});
    ASSERT_TRUE(cloud.start());

    HttpClient anybody(cloud.url());
    EXPECT_EQ(anybody.send("POST", kStudies, kMultipartType, multipartBody({sampleFile()})).status, 200);
    EXPECT_EQ(anybody.get(kStudies).array().size(), 1);
    EXPECT_EQ(anybody.get(QStringLiteral("/api/v1/user")).kind(), 0);
    EXPECT_EQ(anybody.get(QStringLiteral("/control/counts")).status, 404);
    EXPECT_EQ(cloud.stop(), 0);
}

TEST(QuorinCloud, SaysWhyItDoesntStart)
{
    struct Case
    {
        QStringList arguments;
        const char *complaint;
    };
    const Case cases[] = {
        {{QStringLiteral("--user"), QStringLiteral("nobody")}, "EMAIL:PASSWORD"},
        {{QStringLiteral("--tls"), QStringLiteral("/missing"), QStringLiteral("/missing")}, "certificate"},
        {{QStringLiteral("--what")}, "--what"},
    };
    for (const Case &each : cases) {
        CloudProcess cloud(QStringLiteral(QUORIN_CLOUD_PROGRAM), each.arguments);

        EXPECT_FALSE(cloud.start());
        EXPECT_TRUE(cloud.standardError().contains(QLatin1String(each.complaint))) << each.complaint;
    }
}

} // namespace
} // namespace gateway::cloud::testing
