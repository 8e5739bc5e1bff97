#pragma once

#include "core/settings.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/notifications/notification_center.h"
#include "receive/store_listener_service.h"
#include "receive/store_manual_import_service.h"
#include "upload/store_upload_coordinator.h"
#include "upload/upload_requests.h"
#include "wizard/setup_listener.h"

#include <QCoro/QCoroTask>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::app {

/// Owns the services that receive and send, and guards them by the setup gate.
///
/// Owner: Gateway, made on first use. Thread: any for `requestUpload`; main for the rest.
class Store final : public upload::UploadRequests,
                    public wizard::SetupListener,
                    public std::enable_shared_from_this<Store>
{
public:
    struct Collaborators
    {
        core::Settings &settings;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::Clock &clock;
    };

    /// Makes the listener around the closure that asks for an upload.
    using MakeListener = std::function<std::shared_ptr<receive::StoreListenerService>(
        std::function<void(QString)> onImportSucceeded)>;

    /// Makes the manual import around a like closure.
    using MakeManualImport = std::function<std::shared_ptr<receive::StoreManualImportService>(
        std::function<void(QString)> onImportSucceeded)>;

    Store(Collaborators collaborators,
          std::shared_ptr<upload::StoreUploadCoordinator> coordinator,
          const MakeListener &makeListener,
          const MakeManualImport &makeManualImport);

    /// Asks for an upload run if setup is finished; does nothing otherwise.
    ///
    /// \param reason  a short word for the log, such as "app_launch".
    void requestUpload(const QString &reason,
                       upload::UploadUrgency urgency = upload::UploadUrgency::whenOpen) override;

    receive::StoreListenerService &listenerService() const { return *m_listenerService; }

    bool isListenerRunning() const override { return m_listenerService->storeListener() != nullptr; }
    void startListener() override { m_listenerService->startListener(); }
    void stopListener() override { m_listenerService->stopListener(); }

    receive::StoreManualImportService &manualImportService() const { return *m_manualImportService; }

    /// Waits for `wait` and then tells whether a listener still stands. No error within the wait and a
    /// listener that is still there is success; it is no probe of the port.
    ///
    /// \param wait     how long to wait.
    /// \param seconds  the same, for the text of the error.
    /// \throws core::StoreStartupError  at once when the listener reports a failed start, or after the wait.
    QCoro::Task<void> waitForListenerStart(std::chrono::nanoseconds wait, double seconds) override;

private:
    /// Asks for an upload run as long as the coordinator lives.
    std::function<void(QString)> uploadRequest() const;

    Collaborators m_collaborators;
    std::shared_ptr<upload::StoreUploadCoordinator> m_uploadCoordinator;
    std::shared_ptr<receive::StoreListenerService> m_listenerService;
    std::shared_ptr<receive::StoreManualImportService> m_manualImportService;
};

} // namespace gateway::app
