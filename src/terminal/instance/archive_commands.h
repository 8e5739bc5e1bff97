#pragma once

#include "account/archive_sign_in_view_model.h"
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
        account::QuorinAuthViewModel &auth;
        account::ArchiveSignInViewModel &archive;
        cloud_client::QuorinApiClient &client;
        std::function<QString()> plainSecrets; ///< the folder where secrets lie unencrypted; empty for none
    };

    using Answer = std::function<void(ControlReply)>;

    explicit ArchiveCommands(const Collaborators &collaborators);

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

        void giveUpOn(const std::stop_token &hungUp)
        {
            whenHungUp.emplace(hungUp, [source = stop]() mutable { source.request_stop(); });
        }
    };

    ControlReply show() const;
    QCoro::Task<> set(ControlRequest request, Answer answer);
    ControlReply replyTo(const account::ArchiveSignInEnd &end) const;
    void wait(const ControlRequest &request, const Answer &answer);
    QCoro::Task<> test(ControlRequest request, Answer answer);

    const Collaborators m_collaborators;
    std::shared_ptr<Waiting> m_waiting; // the last one
    platform::TaskScope m_scope;        // last: drained before the fields go
};

} // namespace gateway::terminal
