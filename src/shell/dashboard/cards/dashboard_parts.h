#pragma once

#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <functional>

class QWidget;

namespace gateway::account {
class QuorinAuthViewModel;
class QuorinCloudStatusViewModel;
class QuorinCloudStorageLimitViewModel;
} // namespace gateway::account

namespace gateway::log {
class GatewayLogsViewModel;
}

namespace gateway::platform {
class Clock;
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::receive {
class DimseListenerViewModel;
class StoreManualImportService;
} // namespace gateway::receive

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::upload {
class FailureWatch;
}

namespace gateway::shell {

class Sheet;
class Theme;

/// What the dashboard leads to. An action without a function isn't offered.
struct DashboardActions
{
    std::function<void()> openPreferences;
    std::function<void()> openLocalStudies;
    std::function<void()> openFailedStudies; ///< those of the local studies whose uploads failed
    std::function<void()> openQuorinCloud;
    std::function<void()> checkForUpdates;
    std::function<void()> openPanel; ///< the status item's panel, where the desktop shows no such item
};

/// What the dashboard works with; all outlive it.
struct DashboardParts
{
    using Actions = DashboardActions;

    /// Makes a sheet over the given window, which owns it.
    using MakeSheet = std::function<Sheet *(QWidget *window)>;

    /// The ways in.
    struct Receiving
    {
        receive::DimseListenerViewModel &listener;
        receive::StoreManualImportService &imports;
    };

    /// The way out, and the account there.
    struct Cloud
    {
        account::QuorinAuthViewModel &auth;
        account::QuorinCloudStatusViewModel &status;
        account::QuorinCloudStorageLimitViewModel &storage;
        upload::FailureWatch &failures;
        MakeSheet makeSignInSheet; ///< opened while GatewayFigures::showSignInSheet holds
    };

    struct Logs
    {
        log::GatewayLogsViewModel &model;

        /// Shows a folder in the desktop's file browser; false when that can't be done.
        std::function<bool(const QString &directory)> openFolder;
    };

    /// What the program runs on.
    struct Runtime
    {
        platform::UserDefaults &defaults;
        platform::MainExecutor &main;
        platform::WorkerPool &pool; ///< for what may wait
        platform::Clock &clock;
        std::function<QTimeZone()> timeZone; ///< the user's, asked at each painting
    };

    Theme &theme;
    state::GatewayAppState &appState;
    Receiving receiving;
    Cloud cloud;
    Logs logs;
    Runtime runtime;
    Actions actions;
};

} // namespace gateway::shell
