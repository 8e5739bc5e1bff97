#include "core/settings.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::core {

namespace {

class TheSettings : public ::testing::Test
{
private:
    QTemporaryDir m_home;

protected:
    platform::UserDefaults defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};
    Settings settings{defaults};
};

} // namespace

TEST_F(TheSettings, OfAnEmptyDomainHaveTheirDefaults)
{
    EXPECT_EQ(settings.wadoLimit.get(), 2);
    EXPECT_FALSE(settings.advertiseWithBonjour.get());
    EXPECT_TRUE(settings.quorinCloudBatchEnabled.get());
    EXPECT_EQ(settings.quorinCloudBatchUploadCount.get(), 2);
    EXPECT_TRUE(settings.quorinCloudCompressToLS.get());
    EXPECT_FALSE(settings.listenerDestinationFolder.get());
    EXPECT_FALSE(settings.listenerDestinationFolderBookmark.get());
    EXPECT_FALSE(settings.gatewayUpdatePolicyLastSuccessAt.get());
    EXPECT_FALSE(settings.gatewayUpdatePolicyLastFailureAt.get());
    EXPECT_FALSE(settings.gatewayCriticalUpdatePromptLastShownAt.get());
    EXPECT_FALSE(settings.gatewayOfflineUpdateWarningLastShownAt.get());
    EXPECT_FALSE(settings.gatewaySetupCompleted.get());
    EXPECT_FALSE(settings.gatewaySetupCompletedAt.get());
    EXPECT_EQ(settings.gatewaySetupVersion.get(), 0);
    EXPECT_EQ(settings.gatewayAutoDeleteMode.get(), GatewayAutoDeleteMode::never);
    EXPECT_FALSE(settings.gatewayAutoDeleteValue.get());
    EXPECT_TRUE(defaults.keys().isEmpty()) << "reading stores nothing";
}

TEST_F(TheSettings, AreKeptUnderTheirKeys)
{
    const QDateTime date(QDate(2026, 5, 6), QTime(7, 8, 9, 10), Qt::UTC);
    settings.wadoLimit.set(3);
    settings.advertiseWithBonjour.set(true);
    settings.quorinCloudBatchEnabled.set(false);
    settings.quorinCloudBatchUploadCount.set(4);
    settings.quorinCloudCompressToLS.set(false);
    settings.listenerDestinationFolder.set(QStringLiteral("/srv/inbox"));
    settings.listenerDestinationFolderBookmark.set(QByteArray("/srv/inbox"));
    settings.gatewayUpdatePolicyLastSuccessAt.set(date);
    settings.gatewayUpdatePolicyLastFailureAt.set(date);
    settings.gatewayCriticalUpdatePromptLastShownAt.set(date);
    settings.gatewayOfflineUpdateWarningLastShownAt.set(date);
    settings.gatewaySetupCompleted.set(true);
    settings.gatewaySetupCompletedAt.set(date);
    settings.gatewaySetupVersion.set(1);
    settings.gatewayAutoDeleteMode.set(GatewayAutoDeleteMode::months);
    settings.gatewayAutoDeleteValue.set(6);

    const QList<std::pair<const char *, QVariant>> stored{
        {"wadoLimit", 3},
        {"advertiseWithBonjour", true},
        {"quorinCloudBatchEnabled", false},
        {"quorinCloudBatchUploadCount", 4},
        {"quorinCloudCompressToLS", false},
        {"ListenerDestinationFolder", QStringLiteral("/srv/inbox")},
        {"ListenerDestinationFolderBookmark", QByteArray("/srv/inbox")},
        {"GatewayUpdatePolicyLastSuccessAt", date},
        {"GatewayUpdatePolicyLastFailureAt", date},
        {"GatewayCriticalUpdatePromptLastShownAt", date},
        {"GatewayOfflineUpdateWarningLastShownAt", date},
        {"GatewaySetupCompleted", true},
        {"GatewaySetupCompletedAt", date},
        {"GatewaySetupVersion", 1},
        {"GatewayAutoDeleteMode", QStringLiteral("months")},
        {"GatewayAutoDeleteValue", 6},
    };
    for (const auto &[key, value] : stored) {
        EXPECT_EQ(defaults.object(QString::fromLatin1(key)), value) << key;
    }
    EXPECT_EQ(defaults.keys().size(), stored.size());
}

TEST_F(TheSettings, AFieldTellsItsObservers)
{
    int told = 0;
    const auto token = settings.gatewaySetupCompleted.onChange([&] { ++told; });

    settings.gatewaySetupCompleted.set(true);

    EXPECT_EQ(told, 1);
}

TEST_F(TheSettings, AnUnknownAutoDeleteModeReadsAsNever)
{
    defaults.setObject(QStringLiteral("GatewayAutoDeleteMode"), QStringLiteral("weeks"));

    EXPECT_EQ(settings.gatewayAutoDeleteMode.get(), GatewayAutoDeleteMode::never);
}

TEST_F(TheSettings, SetupIsRequiredUntilItWasCompletedWithAVersion)
{
    EXPECT_TRUE(isSetupRequired(settings));
    settings.gatewaySetupVersion.set(1);
    EXPECT_TRUE(isSetupRequired(settings));
    settings.gatewaySetupCompleted.set(true);
    EXPECT_FALSE(isSetupRequired(settings));
    settings.gatewaySetupVersion.set(2);
    EXPECT_FALSE(isSetupRequired(settings));
}

TEST_F(TheSettings, CompletedWithVersionZeroCountsAsNotSetUp)
{
    settings.gatewaySetupCompleted.set(true);
    settings.gatewaySetupVersion.set(0);

    EXPECT_TRUE(isSetupRequired(settings));
}

} // namespace gateway::core
