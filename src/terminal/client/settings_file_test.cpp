#include "terminal/client/settings_file.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

struct SettingsFiles : ::testing::Test
{
    static QJsonObject setting(const QString &key, const QString &value, bool isFixed = false)
    {
        return {{QStringLiteral("key"), key},
                {QStringLiteral("value"), value},
                {QStringLiteral("fixed"), isFixed}};
    }

    /// What is said of a file with these bytes.
    QString problemOf(const QByteArray &bytes) const
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        return readSettingsFile(path).problem;
    }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("site.json"));
};

TEST_F(SettingsFiles, HoldWhatAnotherGatewayCanTake)
{
    const QJsonArray settings{setting(QStringLiteral("wadoLimit"), QStringLiteral("4")),
                              setting(QStringLiteral("QuorinAPI.Proxy"), QString()),
                              setting(QStringLiteral("QuorinAPI.BaseURL"), QStringLiteral("(hidden)@host")),
                              setting(QStringLiteral("GatewayAutoDelete"), QStringLiteral("30-days")),
                              setting(QStringLiteral("GatewayAutoDeleteMode"), QStringLiteral("days")),
                              setting(QStringLiteral("GatewayAutoDeleteValue"), QStringLiteral("30")),
                              setting(QStringLiteral("QuorinGateway.deviceId"), QStringLiteral("x"), true)};

    ASSERT_EQ(writeSettingsFile(path, settings), std::nullopt);
    const SettingsFile read = readSettingsFile(path);

    EXPECT_EQ(read.problem, QString());
    EXPECT_EQ(read.settings,
              QJsonObject({{QStringLiteral("wadoLimit"), QStringLiteral("4")},
                           {QStringLiteral("GatewayAutoDelete"), QStringLiteral("30-days")}}));
}

TEST_F(SettingsFiles, OfAnotherKindAreRefused)
{
    EXPECT_TRUE(readSettingsFile(path).problem.contains(QStringLiteral("can't be read")));
    for (const char *bytes : {"", "[]", "{", "{\"settings\": 3}", "{\"schema\": 1}"}) {
        EXPECT_TRUE(problemOf(bytes).contains(QStringLiteral("holds no settings"))) << bytes;
    }
    EXPECT_TRUE(problemOf("{\"schema\": 2, \"settings\": {}}").contains(QStringLiteral("schema")));
    EXPECT_EQ(problemOf("{\"schema\": 1, \"settings\": {}}"), QString());
    EXPECT_TRUE(problemOf(QByteArray(2'000'000, ' ')).contains(QStringLiteral("holds no settings")));
}

TEST_F(SettingsFiles, ThatCanNotBeWrittenAreTold)
{
    const std::optional<QString> problem =
        writeSettingsFile(folder.filePath(QStringLiteral("gone/site.json")), {});

    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->contains(QStringLiteral("can't be written")));
}

} // namespace
} // namespace gateway::terminal
