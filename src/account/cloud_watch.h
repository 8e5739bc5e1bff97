#pragma once

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"

#include <QCoro/QCoroTask>

#include <chrono>
#include <optional>

namespace gateway::account {

/// What is known of the cloud while no screen looks: whether it answers, how much room the account has,
/// whether terms wait for an answer. It looks from time to time, and whenever something shows that the last
/// look is out of date.
///
/// Owner: Gateway. Thread: main.
class CloudWatch
{
public:
    struct Collaborators
    {
        cloud_client::QrnStatusAPIProtocol &status;
        cloud_client::QrnUserAPIProtocol &user;
        cloud_client::QrnQuorinCloudTermsAPIProtocol &terms;
        cloud_client::NetworkSettings &networkSettings;
        platform::UserDefaults &defaults;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool; ///< for calls that may take as long as the network lets them
        platform::Clock &clock;
        const QuorinAuthViewModel &auth;
    };

    static constexpr std::chrono::seconds kStatusPoll{30};
    static constexpr std::chrono::seconds kStoragePoll{60};

    /// How long somebody who asks for the state waits for a cloud that doesn't answer.
    static constexpr std::chrono::seconds kGracePeriod{2};

    explicit CloudWatch(const Collaborators &collaborators);

    /// Begins to look.
    void start();

    /// Looks whether the cloud answers, and returns when that is known, or when waiting longer would keep
    /// somebody waiting.
    QCoro::Task<> look();

    /// Something else has just heard from the cloud: if it counts as unreachable, it is pinged at once.
    void cloudAnswered();

    /// Whether the cloud answered the last ping; nothing before the first was answered or failed.
    std::optional<bool> isOnline() const;

    // The screens show these models, so that one poll serves all.
    QuorinCloudStatusViewModel &status() { return m_status; }
    QuorinCloudStorageLimitViewModel &storage() { return m_storage; }

    const QuorinCloudStatusViewModel &status() const { return m_status; }
    const QuorinCloudStorageLimitViewModel &storage() const { return m_storage; }
    const GatewayQuorinCloudTermsCoordinator &terms() const { return m_terms; }

    /// Whether the user has to accept terms; nothing while nobody knows.
    std::optional<bool> areTermsRequired() const;

    /// Asks for the terms again, as after an answer to them.
    void checkTerms();

    /// Ends all looking.
    void close();

private:
    void authStateChanged();
    QCoro::Task<> refreshTerms();

    const Collaborators m_collaborators;
    QuorinCloudStatusViewModel m_status;
    QuorinCloudStorageLimitViewModel m_storage;
    GatewayQuorinCloudTermsCoordinator m_terms;
    bool m_wasSignedIn = false;
    bool m_areTermsKnown = false;
    platform::NotificationCenter::Token m_authObserver;
    platform::NotificationCenter::Token m_termsObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
