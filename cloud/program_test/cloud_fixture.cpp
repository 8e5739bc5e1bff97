#include "cloud/program_test/cloud_fixture.h"

#include <QtCore/QDirIterator>

namespace gateway::cloud::testing {

namespace {

QJsonArray itemsOf(const HttpAnswer &answer, const char *sequence)
{
    return answer.object().value(QLatin1String(sequence)).toObject().value(QStringLiteral("Value")).toArray();
}

QStringList argumentsFor(bool waitsForDisk)
{
    QStringList arguments{QStringLiteral("--control"), QStringLiteral("--user"), kEmail + u':' + kPassword};
    if (!waitsForDisk) {
        arguments.append(QStringLiteral("--no-sync"));
    }
    return arguments;
}

} // namespace

QString valueOf(const QJsonValue &record, const char *tag)
{
    const QJsonValue value =
        record.toObject().value(QLatin1String(tag)).toObject().value(QStringLiteral("Value")).toArray().at(0);
    if (value.isObject()) {
        return value.toObject().value(QStringLiteral("Alphabetic")).toString();
    }
    return value.isDouble() ? QString::number(value.toInteger()) : value.toString();
}

CloudTest::CloudTest(bool waitsForDisk)
    : m_cloud(QStringLiteral(QUORIN_CLOUD_PROGRAM), argumentsFor(waitsForDisk))
{
}

void CloudTest::SetUp()
{
    ASSERT_TRUE(m_cloud.start()) << m_cloud.standardError().toStdString();
}

void CloudTest::TearDown()
{
    if (!m_endedByTest) {
        EXPECT_EQ(m_cloud.stop(), 0) << m_cloud.standardError().toStdString();
    }
}

HttpClient CloudTest::signedIn() const
{
    const HttpAnswer answer =
        client().post(QStringLiteral("/api/v1/auth/login"),
                      {{QStringLiteral("email"), kEmail}, {QStringLiteral("password"), kPassword}});
    HttpClient result(m_cloud.url());
    result.withBearer(answer.object().value(QStringLiteral("token")).toString());
    return result;
}

void CloudTest::steer(const QString &path, const QJsonObject &body) const
{
    EXPECT_EQ(client().post(QStringLiteral("/control/") + path, body).status, 204) << path.toStdString();
}

HttpAnswer CloudTest::upload(HttpClient &client, const QList<QByteArray> &files)
{
    return client.send("POST", kStudies, kMultipartType, multipartBody(files));
}

QStringList CloudTest::uidsIn(const HttpAnswer &answer, const char *sequence)
{
    QStringList uids;
    const QJsonArray items = itemsOf(answer, sequence);
    for (const auto &item : items) {
        uids.append(valueOf(item, "00081155"));
    }
    return uids;
}

int CloudTest::firstFailureReason(const HttpAnswer &answer)
{
    const QJsonArray items = itemsOf(answer, kFailed);
    return items.isEmpty() ? -1 : valueOf(items.first(), "00081197").toInt();
}

int CloudTest::instanceCount() const
{
    return control(QStringLiteral("counts")).object().value(QStringLiteral("instances")).toInt(-1);
}

int CloudTest::filesIn(const QString &folder) const
{
    QDirIterator files(m_cloud.dataFolder() + u'/' + folder, QDir::Files, QDirIterator::Subdirectories);
    int count = 0;
    while (files.hasNext()) {
        files.next();
        ++count;
    }
    return count;
}

} // namespace gateway::cloud::testing
