#pragma once

#include "browser/cloud_table.h"
#include "browser/local_table.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QString>

#include <functional>

namespace gateway::account {
class ArchiveSignInViewModel;
class CloudChoice;
class CloudWatch;
class QuorinAuthViewModel;
} // namespace gateway::account

namespace gateway::core {
struct Deployment;
struct HomeLayout;
class Settings;
} // namespace gateway::core

namespace gateway::index {
class DicomDB;
}

namespace gateway::cloud_client {
class QrnBugReportAPIProtocol;
class QrnQuorinCloudTermsAPIProtocol;
class QrnUserAPIProtocol;
} // namespace gateway::cloud_client

namespace gateway::platform {
class Clock;
class MainExecutor;
class NotificationCenter;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::receive {
class StoreListenerService;
class StoreManualImportService;
} // namespace gateway::receive

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::wizard {
class SetupTrial;
}

namespace gateway::shell {

/// What all screens are made over; all of it outlives them.
struct ScreenModels
{
    /// What the program runs on.
    struct Runtime
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;        ///< for disks
        platform::WorkerPool &networkPool; ///< for calls that may take as long as the network lets them
        platform::Clock &clock;
        const core::HomeLayout &layout;
        const core::Deployment &deployment;
    };

    /// The cloud and the account there.
    struct Cloud
    {
        cloud_client::QrnBugReportAPIProtocol &bugReports;
        bool takesBugReports;                                       ///< what stands behind it offers that
        std::function<QCoro::Task<QString>()> collectSupportBundle; ///< as a text
        cloud_client::QrnQuorinCloudTermsAPIProtocol &terms;
        cloud_client::QrnUserAPIProtocol &user;
        bool keepsProfiles; ///< false for an archive
        account::QuorinAuthViewModel &auth;
        account::CloudWatch &watch;
        account::ArchiveSignInViewModel *archive; ///< null where an account signs in
        account::CloudChoice &choice;
    };

    /// The images and their ways in.
    struct Images
    {
        index::DicomDB &index;
        state::GatewayAppState &appState;
        receive::StoreListenerService &listener;
        receive::StoreManualImportService &manualImports;
    };

    /// What the two browsers show.
    struct Browsers
    {
        browser::CloudBrowserParts cloud;
        browser::LocalBrowserParts local;
        std::function<void(const QString &study)> sendNow; ///< asks for an upload of what a study lacks
    };

    Runtime runtime;
    Cloud cloud;
    Images images;
    Browsers browsers;
    wizard::SetupWizardParts setup;
    wizard::SetupTrial &trial;
};

} // namespace gateway::shell
