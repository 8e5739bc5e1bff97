#pragma once

#include "app/app_delegate.h"
#include "app/launch_ports.h"
#include "app/store.h"
#include "receive/testing/manual_import_world.h"
#include "receive/testing/receive_world.h"
#include "upload/store_upload_coordinator.h"
#include "upload/testing/fake_upload_index.h"

#include <QtCore/QStringList>

#include <memory>
#include <optional>

namespace gateway::app::testing {

/// A face that notes what it was asked to show.
class RecordingFace final : public GatewayFace
{
public:
    void showStatusBar() override { shown.append(QStringLiteral("status bar")); }
    void bringForward() override { ++forward; }
    void showDashboard() override { shown.append(QStringLiteral("dashboard")); }
    void showSignInSheet() override { shown.append(QStringLiteral("sign-in sheet")); }
    void showPreferences() override { shown.append(QStringLiteral("preferences")); }
    void showBugReport() override { shown.append(QStringLiteral("bug report")); }
    void showTermsRequired() override { shown.append(QStringLiteral("terms required")); }

    void showSetupWizard(bool blocking) override
    {
        shown.append(blocking ? QStringLiteral("blocking wizard") : QStringLiteral("wizard"));
    }

    bool isSetupWizardVisible() const override { return isWizardVisible; }

    void showAlert(const QString &title, const QString &message) override
    {
        shown.append(title + QStringLiteral(": ") + message);
    }

    void showNotice(const QString &title, const QString & /*message*/) override
    {
        shown.append(QStringLiteral("notice ") + title);
    }

    void ask(const updates::Alert &alert, std::function<void(bool)> answered) override
    {
        shown.append(alert.title);
        answered(false);
    }

    void showUpdates(updates::AppcastUpdater & /*updater*/) override
    {
        shown.append(QStringLiteral("updates"));
    }

    void tellUpdate(const QString &banner) override { shown.append(banner); }

    void reopen() override { shown.append(QStringLiteral("reopened")); }

    QStringList shown;
    int forward = 0;
    bool isWizardVisible = false;
};

/// An upkeep that notes what it was asked to do.
class RecordingUpkeep final : public ProgramUpkeep
{
public:
    explicit RecordingUpkeep(QStringList &done) : m_done(done) {}

    void checkInstallLocation() override { m_done.append(QStringLiteral("install location")); }
    void startUpdater() override { m_done.append(QStringLiteral("updater")); }
    void startVersionPolicy() override { m_done.append(QStringLiteral("version policy")); }
    void checkForUpdates(const QString &reason) override { m_done.append(QStringLiteral("check ") + reason); }

private:
    QStringList &m_done;
};

/// A cleanup service that notes its triggers. Thread: any.
class RecordingCleanup final : public upload::GatewayAutoDeleteCleanupServicing
{
public:
    void runCleanup(const QString &trigger,
                    const std::optional<QString> &,
                    const std::optional<QDateTime> &) override
    {
        const platform::MutexLock lock(m_mutex);
        m_triggers.append(trigger);
        m_changed.notifyAll();
    }

    QStringList triggers() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_triggers;
    }

    /// Blocks until so many cleanups were asked for.
    void waitFor(int count)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_triggers.size() < count) {
            m_changed.wait(m_mutex);
        }
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    QStringList m_triggers QUORIN_GUARDED_BY(m_mutex);
};

/// A launchable gateway with everything around it faked.
///
/// Owner: a test. Thread: main.
class AppWorld
{
public:
    AppWorld()
    {
        coordinator =
            std::make_shared<upload::StoreUploadCoordinator>(upload::StoreUploadCoordinator::Collaborators{
                receive.emitter,
                runObserver,
                receive.clock,
                uploadIndex,
                [] { return upload::StoreUpload::ExecutionConfig(); },
                [](const QString &, const upload::StoreUpload::ExecutionConfig &, const std::stop_token &) {
                    return upload::StoreUpload::RunSummary();
                },
                [] { return 0.0; }});
        store = std::make_shared<Store>(
            Store::Collaborators{receive.settings, receive.notifications, receive.main, receive.clock},
            coordinator,
            [this](std::function<void(QString)>) { return receive.service; },
            [this](std::function<void(QString)>) { return imports.service; });
        delegate =
            std::make_shared<AppDelegate>(AppDelegate::Collaborators{receive.settings,
                                                                     receive.notifications,
                                                                     receive.main,
                                                                     receive.clock,
                                                                     face,
                                                                     upkeep,
                                                                     cleanup,
                                                                     *store,
                                                                     [this] { return isApplyingSetup; }});
    }

    void finishSetup()
    {
        receive.settings.gatewaySetupVersion.set(1);
        receive.settings.gatewaySetupCompleted.set(true);
    }

    /// Whether an upload was asked for with this trigger.
    bool wasUploadRequested(const QString &trigger) const
    {
        for (const auto &event : receive.log.events(log::GatewayLogAction::uploadRunRequested)) {
            if (event.details && event.details->value(QStringLiteral("trigger")) == trigger) {
                return true;
            }
        }
        return false;
    }

    receive::testing::ReceiveWorld receive;
    receive::testing::ManualImportWorld imports;
    upload::testing::FakeUploadIndex uploadIndex;
    upload::RunObserver runObserver;
    QStringList upkeepDone;
    bool isApplyingSetup = false;
    RecordingFace face;
    RecordingUpkeep upkeep{upkeepDone};
    RecordingCleanup cleanup;
    std::shared_ptr<upload::StoreUploadCoordinator> coordinator;
    std::shared_ptr<Store> store;
    std::shared_ptr<AppDelegate> delegate;
};

} // namespace gateway::app::testing
