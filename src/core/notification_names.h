#pragma once

#include <QtCore/QString>

/// The complete vocabulary of in-process messages; all are posted without an object, and without user
/// information where nothing else is said.
namespace gateway::core {

inline const QString kOpenDashboard = QStringLiteral("QuorinGateway.openDashboard");
inline const QString kOpenSignIn = QStringLiteral("QuorinGateway.openSignIn");
inline const QString kOpenPreferences = QStringLiteral("QuorinGateway.openPreferences");
inline const QString kOpenBugReport = QStringLiteral("QuorinGateway.openBugReport");
inline const QString kOpenSetupWizard = QStringLiteral("QuorinGateway.openSetupWizard");

/// The cloud asks for new terms; follows kOpenPreferences.
inline const QString kQuorinCloudTermsRequired = QStringLiteral("QuorinGateway.quorinCloudTermsRequired");

/// The operator asks for an update check.
inline const QString kCheckForUpdatesRequested = QStringLiteral("QuorinGateway.checkForUpdatesRequested");

/// Somebody signed in or out.
inline const QString kAuthStateChanged = QStringLiteral("QuorinGateway.authStateChanged");

/// The listener was started, failed to start or was stopped.
inline const QString kStoreListenerStateChanged = QStringLiteral("QuorinGateway.storeListenerStateChanged");

/// The listener failed to start; carries kMessageKey.
inline const QString kStoreListenerError = QStringLiteral("QuorinGateway.storeListenerError");

/// Settings were changed by a command; posted on the main thread.
inline const QString kSettingsChanged = QStringLiteral("QuorinGateway.settingsChanged");

/// Sync states of the index changed; posted on the main thread.
inline const QString kLocalSyncStateChanged = QStringLiteral("QuorinGateway.localSyncStateChanged");

/// User information of kStoreListenerError: a text for the operator.
inline const QString kMessageKey = QStringLiteral("message");

} // namespace gateway::core
