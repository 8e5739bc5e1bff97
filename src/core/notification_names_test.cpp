#include "core/notification_names.h"

#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace gateway::core {

TEST(NotificationNames, AreElevenDifferentOnesOfOneFamily)
{
    const QList<QString> names{kOpenDashboard,
                               kOpenSignIn,
                               kOpenPreferences,
                               kOpenBugReport,
                               kOpenSetupWizard,
                               kQuorinCloudTermsRequired,
                               kCheckForUpdatesRequested,
                               kAuthStateChanged,
                               kStoreListenerStateChanged,
                               kStoreListenerError,
                               kLocalSyncStateChanged};

    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), 11);
    for (const QString &name : names) {
        EXPECT_TRUE(name.startsWith(QStringLiteral("QuorinGateway."))) << name.toStdString();
    }
}

} // namespace gateway::core
