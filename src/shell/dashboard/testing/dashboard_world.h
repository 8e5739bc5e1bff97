#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "account/testing/fake_account_service.h"
#include "account/testing/fake_status_api.h"
#include "cloud_client/testing/memory_token_store.h"
#include "core/notification_names.h"
#include "log/browsing/gateway_logs_view_model.h"
#include "log/browsing/testing/log_folder.h"
#include "platform/concurrency/testing/runs_main.h"
#include "receive/dimse_listener_view_model.h"
#include "receive/store_manual_import_service.h"
#include "receive/testing/manual_import_world.h"
#include "receive/testing/receive_world.h"
#include "shell/controls/sheet.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/testing/held_imports.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"
#include "state/testing/fake_figure_index.h"
#include "upload/failure_watch.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtWidgets/QApplication>

#include <memory>

namespace gateway::shell::testing {

/// Everything that the dashboard shows, with fakes at its ends, on a manual clock that begins at noon in UTC.
///
/// Owner: a test. Thread: main.
class DashboardWorld : public platform::testing::RunsMain
{
public:
    /// \param knowsSession  the first look at the session is over.
    explicit DashboardWorld(bool knowsSession = true)
    {
        network.waitUntilStored();
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        receive.settings.gatewaySetupCompleted.set(true);
        receive.settings.gatewaySetupVersion.set(1);
        receive.configure([](core::DCMListenerSettings &settings) {
            settings.aeTitle = QStringLiteral("QUORIN");
            settings.port = 11112;
        });
        listener.refresh();
        account.user.workplaceName = QStringLiteral("St. Anna Radiology");
        account.limit = {100.0F * 1024 * 1024, 37.5F * 1024 * 1024};
        if (knowsSession) {
            finish(auth.refresh(true));
        }
    }

    ~DashboardWorld()
    {
        account.release();
        heldImports.release();
    }

    DashboardWorld(const DashboardWorld &) = delete;
    DashboardWorld &operator=(const DashboardWorld &) = delete;

    DashboardParts parts()
    {
        return {.theme = theme,
                .appState = state,
                .receiving = {.listener = listener, .imports = *imports.service},
                .cloud = {.auth = auth,
                          .status = cloudStatus,
                          .storage = cloudStorage,
                          .failures = failures,
                          .makeSignInSheet =
                              [this](QWidget *window) {
                                  signInSheet = new Sheet(theme, *window, QStringLiteral("Sign in"));
                                  return signInSheet;
                              }},
                .logs = {.model = logs, .openFolder = [](const QString &) { return true; }},
                .runtime = {.defaults = receive.defaults,
                            .main = receive.main,
                            .pool = receive.pool,
                            .clock = clock,
                            .timeZone = [] { return QTimeZone::utc(); }},
                .actions = actions};
    }

    void signIn() { finish(auth.signIn(QStringLiteral("ann@example.org"), account.password)); }
    void signOut() { finish(auth.signOut()); }

    void startListener()
    {
        listener.setEnabled(true);
        letItListen();
    }

    /// The receiver that was started last binds its port.
    void letItListen()
    {
        receive.scps.back()->listen();
        runUntil([this] { return listener.state() == state::ListenerState::listening; });
    }

    /// Rows of the index, and what the figures make of them.
    void addImages(int count, int syncState, const QDateTime &createDate)
    {
        for (int i = 0; i < count; ++i) {
            index.images.push_back({createDate, syncState, syncState == 1 ? createDate : QDateTime()});
        }
    }

    /// Lets measurements of the file store that were asked for come to their end.
    void restMeasurements()
    {
        for (int round = 0; round < 4; ++round) {
            const QString name = QString::number(++m_fillings);
            QFile file(index.pathInFileStore(u'.' + name)); // whole before it can be measured
            if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(1 << 16, 'x')) < 0 ||
                !file.rename(index.pathInFileStore(name))) {
                qFatal("a test file could not be written");
            }
            file.close();
            const qint64 before = state.figures().receivedStorageUsage.usedBytes;
            state.refreshStorageUsage();
            runUntil([&] {
                receive.clock.advance(std::chrono::seconds(2)); // each rests a second after the one before
                return state.figures().receivedStorageUsage.usedBytes > before;
            });
        }
    }

    void refreshFigures()
    {
        state.refreshCounters();
        state.refreshTransferSeries();
        QCoreApplication::processEvents();
    }

    Theme theme;
    platform::testing::ManualClock clock; ///< of the dashboard alone, so that its sleeps can be told apart
    DashboardActions actions;
    HeldImports heldImports;
    receive::testing::ReceiveWorld receive;
    receive::testing::ManualImportWorld imports{&heldImports};
    receive::DimseListenerViewModel listener{
        {receive.defaults, receive.settings, receive.notifications, *receive.service, receive.inbox()}};
    log::testing::LogFolder logFolder;
    log::GatewayLogsViewModel logs{{receive.defaults, receive.main, receive.pool, receive.clock},
                                   logFolder.path()};
    cloud_client::testing::MemoryTokenStore tokens;
    cloud_client::NetworkSettings network{tokens, QStringLiteral("test")};
    account::testing::FakeAccountService account{network};
    account::testing::FakeStatusAPI cloud;
    account::QuorinAuthViewModel auth{{account,
                                       account,
                                       network,
                                       receive.defaults,
                                       receive.notifications,
                                       receive.main,
                                       receive.pool,
                                       receive.clock},
                                      QStringLiteral("3.1.0")};
    account::QuorinCloudStatusViewModel cloudStatus{{cloud, receive.main, receive.pool, receive.clock}};
    QList<upload::FailureFigure> failureFigures; // set before images that failed are shown
    upload::FailureWatch failures{
        {receive.main, receive.pool, clock, [figures = &failureFigures] { return *figures; }}};
    account::QuorinCloudStorageLimitViewModel cloudStorage{
        {account, network, receive.main, receive.pool, receive.clock}};
    state::testing::FakeFigureIndex index;
    platform::NotificationCenter::Token listening =
        receive.notifications.observe(core::kStoreListenerStateChanged,
                                      [this](const QVariantMap &) { state.setListening(listener.isOn()); });
    state::GatewayAppState state{
        {index, receive.notifications, receive.main, receive.pool, receive.clock, [] {
             return QTimeZone::utc();
         }}};
    QPointer<Sheet> signInSheet;

private:
    int m_fillings = 0;
};

} // namespace gateway::shell::testing
