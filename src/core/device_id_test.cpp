#include "core/device_id.h"

#include "core/settings.h"

#include <QtCore/QTemporaryDir>
#include <QtCore/QUuid>

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <thread>

namespace gateway::core {

namespace {

class ADevice : public ::testing::Test
{
private:
    QTemporaryDir m_home;

protected:
    bool retrieveModeFor(const QVariant &stored)
    {
        defaults.setObject(QStringLiteral("QuorinRetrieveMode"), stored);
        return retrieveMode(defaults);
    }

    platform::UserDefaults defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};
};

} // namespace

TEST_F(ADevice, HasAnUpperCaseUuidThatStaysTheSame)
{
    const QString first = deviceId(defaults);

    EXPECT_EQ(first, QUuid::fromString(first).toString(QUuid::WithoutBraces).toUpper());
    EXPECT_FALSE(QUuid::fromString(first).isNull());
    EXPECT_EQ(deviceId(defaults), first);
    EXPECT_EQ(defaults.object(QStringLiteral("QuorinGateway.deviceId")), QVariant(first));
}

TEST_F(ADevice, ReplacesAnEmptyIdentifierOnceAndKeepsTheNewOne)
{
    const QString first = deviceId(defaults);
    defaults.setObject(Settings::deviceIdKey, QString());

    const QString second = deviceId(defaults);

    EXPECT_NE(second, first);
    EXPECT_EQ(second.size(), 36);
    EXPECT_EQ(deviceId(defaults), second);
}

TEST_F(ADevice, KeepsAnIdentifierThatItDidntMake)
{
    defaults.setObject(Settings::deviceIdKey, QStringLiteral("as it was"));

    EXPECT_EQ(deviceId(defaults), QStringLiteral("as it was"));
}

TEST_F(ADevice, ReplacesAnIdentifierThatIsNoText)
{
    defaults.setObject(Settings::deviceIdKey, 42);

    const QString made = deviceId(defaults);

    EXPECT_EQ(made.size(), 36);
    EXPECT_EQ(deviceId(defaults), made);
}

TEST_F(ADevice, ThreadsThatAskAtOnceGetOneIdentifier)
{
    std::array<QString, 4> identifiers;
    std::array<std::thread, 4> threads;

    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([this, &identifier = identifiers[i]] { identifier = deviceId(defaults); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    for (const QString &identifier : identifiers) {
        EXPECT_EQ(identifier, identifiers[0]);
    }
}

TEST_F(ADevice, RetrieveModeIsOnForANumberOtherThanZeroAlone)
{
    EXPECT_FALSE(retrieveMode(defaults)) << "absent";
    EXPECT_FALSE(retrieveModeFor(0));
    EXPECT_TRUE(retrieveModeFor(2));
    EXPECT_TRUE(retrieveModeFor(-1));
    EXPECT_TRUE(retrieveModeFor(true));
    EXPECT_FALSE(retrieveModeFor(false));
    EXPECT_TRUE(retrieveModeFor(3.0));
    EXPECT_FALSE(retrieveModeFor(0.5)) << "no integer";
    EXPECT_FALSE(retrieveModeFor(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(retrieveModeFor(QStringLiteral("yes"))) << "unreadable";
}

TEST_F(ADevice, RetrieveModeComesBackAsItWasSet)
{
    EXPECT_TRUE(setRetrieveMode(defaults, true));
    EXPECT_TRUE(retrieveMode(defaults));
    EXPECT_TRUE(setRetrieveMode(defaults, false));
    EXPECT_FALSE(retrieveMode(defaults));
}

} // namespace gateway::core
