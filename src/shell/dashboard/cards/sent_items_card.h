#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/controls/card.h"

#include <cstdint>
#include <functional>

namespace gateway::account {
class QuorinAuthViewModel;
class QuorinCloudStatusViewModel;
class QuorinCloudStorageLimitViewModel;
} // namespace gateway::account

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::upload {
class FailureWatch;
}

namespace gateway::shell {

class Button;
class CardNotice;
class Figure;
class StorageFigures;
struct DashboardParts;

/// "Sent Items": what went to the cloud, what waits, what failed, and the room that is left there.
///
/// Owner: OverviewPage. Thread: main.
class SentItemsCard : public Card
{
    Q_OBJECT

public:
    explicit SentItemsCard(const DashboardParts &parts, QWidget *parent = nullptr);
    ~SentItemsCard() override;

    std::int64_t uploadingInProgress() const { return m_uploadingInProgress; }
    std::int64_t uploadedFiles() const { return m_uploadedFiles; }
    std::int64_t failedFiles() const { return m_failedFiles; }

    /// The cloud's studies open as soon as somebody has signed in, since they were asked for before.
    bool pendingQuorinCloudOpenAfterSignIn() const { return m_pendingQuorinCloudOpenAfterSignIn; }

    /// The sign-in sheet went away; what waited for it is forgotten unless somebody signed in.
    void signInSheetClosed();

    Figure &inProgress() { return *m_inProgress; }
    Figure &uploaded() { return *m_uploaded; }
    Figure &failed() { return *m_failed; }
    Figure &speed() { return *m_speed; }
    StorageFigures &storage() { return *m_storage; }
    CardNotice &notice() { return *m_notice; }

    /// Null where there is nothing that it could offer.
    Button *moreButton() { return m_more; }

Q_SIGNALS:
    void viewLogsRequested();

private:
    void listen();
    void openQuorinCloud();
    void authChanged();
    void showFigures();
    void showStorage();
    void showNotice();

    const Theme &m_theme;
    state::GatewayAppState &m_appState;
    account::QuorinAuthViewModel &m_auth;
    account::QuorinCloudStatusViewModel &m_cloudStatus;
    upload::FailureWatch &m_failures;
    account::QuorinCloudStorageLimitViewModel &m_cloudStorageViewModel;
    const std::function<void()> m_openQuorinCloud;
    const std::function<void()> m_openFailedStudies;
    Button *m_more;
    Figure *m_inProgress;
    Figure *m_uploaded;
    Figure *m_failed;
    Figure *m_speed;
    StorageFigures *m_storage;
    CardNotice *m_notice;
    std::int64_t m_uploadingInProgress = 0;
    std::int64_t m_uploadedFiles = 0;
    std::int64_t m_failedFiles = 0;
    bool m_pendingQuorinCloudOpenAfterSignIn = false;
    bool m_wasSignedIn;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
