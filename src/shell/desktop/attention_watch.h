#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "core/failure_class.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/notifications/notification_center.h"
#include "shell/notifying/attention.h"
#include "state/gateway_app_state.h"

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::shell {

/// Whether so little room is left on a disk that a person should come before images are refused.
bool isNearlyFull(qint64 availableBytes);

/// Notices when the gateway needs a person, and calls for one.
///
/// Owner: DesktopFace. Thread: main.
class AttentionWatch : public QObject
{
    Q_OBJECT

public:
    struct Collaborators
    {
        platform::NotificationCenter &notifications;
        const state::GatewayAppState &appState;
        const account::QuorinAuthViewModel &auth;
        const account::QuorinCloudStorageLimitViewModel &cloudStorage;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        const platform::Clock &clock;
        std::function<QList<core::FailureClass>()> failureClasses; ///< of failed uploads; on the pool
        Attention &attention;
    };

    /// Why uploads fail is asked for at most this often: a cloud that refuses everything fails very many.
    static constexpr std::chrono::seconds kAskingPause{10};

    explicit AttentionWatch(const Collaborators &collaborators);

private:
    void observe(const QString &name, AttentionCause cause);
    void sessionChanged();
    void cloudStorageChanged();
    void figureChanged(state::GatewayField field);
    void failuresChanged();
    void askWhyUploadsFail();
    void uploadsFail(const QList<core::FailureClass> &classes);

    const Collaborators m_collaborators;
    account::SessionState m_lastSession;
    std::int64_t m_lastFailedImages = 0;
    std::optional<std::chrono::nanoseconds> m_askedAt;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    std::vector<platform::NotificationCenter::Token> m_observers;
};

} // namespace gateway::shell
