#include "updates/deployment.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::updates {

namespace {

const QByteArray kKey = QByteArray(32, 'k');

struct Deployments : ::testing::Test
{
    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    static QByteArray channel(const QByteArray &feed, const QByteArray &key = kKey.toBase64())
    {
        return R"({"updates": {"feed": ")" + feed + R"(", "publicKey": ")" + key + R"("}})";
    }

    QTemporaryDir folder;
};

} // namespace

TEST_F(Deployments, WithoutAFileHaveNoUpdatesOfTheirOwn)
{
    const Deployment read = readDeployment({folder.filePath(u"none.json"_qs)});

    EXPECT_FALSE(read.updates);
    EXPECT_TRUE(read.problem.isEmpty());
}

TEST_F(Deployments, NameTheFeedAndTheKeyOfItsMaker)
{
    const Deployment read =
        readDeployment({write(u"a.json"_qs, channel("https://updates.example/feed.json"))});

    ASSERT_TRUE(read.updates);
    EXPECT_EQ(read.updates->feed, QUrl(u"https://updates.example/feed.json"_qs));
    EXPECT_EQ(read.updates->publicKey, kKey);
}

TEST_F(Deployments, AreTheFirstFileThatIsThere)
{
    const QString none = folder.filePath(u"none.json"_qs);
    const QString first = write(u"a.json"_qs, "{}");
    const QString second = write(u"b.json"_qs, channel("https://updates.example/feed.json"));

    EXPECT_FALSE(readDeployment({none, first, second}).updates);
    EXPECT_TRUE(readDeployment({none, second, first}).updates);
}

TEST_F(Deployments, ThatCannotBeUnderstoodSayWhy)
{
    for (const QByteArray &content : {QByteArray("<html>"),
                                      QByteArray("[]"),
                                      QByteArray(R"({"updates": 7})"),
                                      channel("http://updates.example/feed.json"),
                                      channel("ftp://updates.example/feed.json"),
                                      channel("https://updates.example/feed.json", "AAAA"),
                                      channel("https://updates.example/feed.json", "")}) {
        const Deployment read = readDeployment({write(u"a.json"_qs, content)});

        EXPECT_FALSE(read.updates) << content.toStdString();
        EXPECT_FALSE(read.problem.isEmpty()) << content.toStdString();
    }
}

} // namespace gateway::updates
