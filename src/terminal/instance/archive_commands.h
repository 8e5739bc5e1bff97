#pragma once

#include "account/device_sign_in.h"
#include "account/quorin_auth_view_model.h"
#include "cloud_client/archive_trial.h"
#include "cloud_client/network_settings.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "terminal/control/control_protocol.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::terminal {

/// What the running instance does for the commands about signing in at an archive.
///
/// Owner: app. Thread: main.
class ArchiveCommands
{
public:
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        account::QuorinAuthViewModel &auth;
        cloud_client::QuorinApiClient &client;
        cloud_client::DeviceGrantAPIProtocol &deviceGrants;
        cloud_client::ArchiveTrial &trial;
        std::function<QString()> plainSecrets; ///< the folder where secrets lie unencrypted; empty for none
    };

    using Answer = std::function<void(ControlReply)>;

    explicit ArchiveCommands(const Collaborators &with);

    /// Carries the request out if it is one of these; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    /// A sign-in by a code that somebody has been told, until its caller knows how it ended.
    struct Waiting
    {
        std::stop_source stop = {};
        bool isTold = false;
        std::optional<ControlReply> end = std::nullopt;
        Answer answer = nullptr; // of the caller who waits for the end
        std::optional<std::stop_callback<std::function<void()>>> whenHungUp = std::nullopt;
    };

    ControlReply show() const;
    std::optional<QString> presentSession() const;
    std::optional<QString> issueWith(const cloud_client::ArchiveSignIn &signIn) const;
    QCoro::Task<> set(ControlRequest request, Answer answer);
    QCoro::Task<> setByCode(cloud_client::ArchiveSignIn signIn, Answer answer);
    QCoro::Task<ControlReply> signIn(cloud_client::ArchiveSignIn signIn,
                                     std::optional<cloud_client::DeviceTokens> granted);
    void wait(const ControlRequest &request, const Answer &answer);
    QCoro::Task<> test(ControlRequest request, Answer answer);

    const Collaborators m_with;
    bool m_isTesting = false;
    std::shared_ptr<Waiting> m_waiting; // the last one
    platform::TaskScope m_scope;        // last: drained before the fields go
};

} // namespace gateway::terminal
