#pragma once

#include "core/settings.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "wizard/folder_check.h"
#include "wizard/gateway_setup_draft.h"
#include "wizard/gateway_setup_issue.h"
#include "wizard/port_check.h"
#include "wizard/setup_listener.h"
#include "wizard/setup_preflight.h"
#include "wizard/setup_turn.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtCore/QObject>

#include <functional>
#include <optional>

namespace gateway::account {
class GatewayQuorinCloudTermsCoordinator;
class QuorinAuthViewModel;
} // namespace gateway::account

namespace gateway::wizard {

/// What setup asks of the machine.
struct SetupMachine
{
    PortProbe probe; ///< any thread
    ValidateFolder validateFolder;
    std::function<QString(std::optional<int> port)> addressText; ///< where modalities reach a listener
    QString defaultIncomingFolder;

    /// This machine.
    ///
    /// \param bindAddress  the one address that the listener binds; empty for all.
    static SetupMachine here(const QString &bindAddress, const QString &defaultIncomingFolder);
};

/// Who may sign in on the account step; both outlive the model.
struct SetupAccount
{
    account::QuorinAuthViewModel &auth;
    account::GatewayQuorinCloudTermsCoordinator &terms; ///< of this wizard alone
};

/// What the model of setup works with; all outlives it.
struct SetupWizardParts
{
    platform::UserDefaults &defaults;
    core::Settings &settings;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
    SetupListener &listener;
    SetupTurn &turn;
    SetupMachine machine;
};

/// The setup of a gateway: five steps, a draft that is written only when it is finished, what each field has
/// against it, repairs, the checks before the end, and the end itself.
///
/// Fields that nobody edited here follow the settings, also when something else changes them meanwhile, so
/// that nothing is written back that was changed elsewhere.
///
/// It never throws: all ends as issues, `validationMessage` or `accountMessage`.
///
/// Owner: whoever sets up, be it a window or a command. Thread: main.
class GatewaySetupWizardViewModel : public QObject
{
    Q_OBJECT

public:
    /// Reads the settings, and asks for the port.
    ///
    /// \param account  nothing where nobody can sign in; setup is finished without an account then.
    explicit GatewaySetupWizardViewModel(const SetupWizardParts &parts,
                                         const std::optional<SetupAccount> &account);
    ~GatewaySetupWizardViewModel() override;

    GatewaySetupStep step() const { return m_step; }
    const GatewaySetupDraft &draft() const { return m_draft; }
    const std::optional<QString> &validationMessage() const { return m_validationMessage; }
    const std::optional<QString> &accountMessage() const { return m_accountMessage; }
    bool accountMessageIsError() const { return m_accountMessageIsError; }
    bool isApplying() const { return m_isApplying; }
    const QList<GatewaySetupIssue> &validationIssues() const { return m_validationIssues; }
    const GatewaySetupPreflightResult &summaryPreflightResult() const { return m_summaryPreflightResult; }
    const QList<GatewaySetupPreflightCheck> &summaryPreflightChecks() const
    {
        return m_summaryPreflightChecks;
    }
    bool isCheckingPortAvailability() const { return m_portCheck.isChecking(); }
    bool isCheckingFolderAccess() const { return m_folderCheck.isChecking(); }

    /// What to say below the AE title: what is wrong with it, or how it will be formatted.
    std::optional<QString> aeTitleHint() const;
    bool hasAETitleProblem() const;

    QList<GatewaySetupIssue> issuesForStep(GatewaySetupStep step) const;

    /// The first thing in the way of leaving this step; for the summary the first of all.
    std::optional<GatewaySetupIssue> firstBlockingIssue(GatewaySetupStep step) const;

    bool canGoBack() const;
    bool canContinue() const;
    bool canFinish() const;

    QList<GatewaySetupSummaryRow> summaryRows() const;

    // What is entered.

    void updateAETitle(const QString &text);
    void updatePortText(const QString &text);
    void updateAdvertiseWithBonjour(bool advertise);
    void updateDestinationFolder(const QString &folder);
    void updateAutoDeleteMode(core::GatewayAutoDeleteMode mode);
    void updateAutoDeleteValueText(const QString &text);
    void updateAccountEmail(const QString &text);
    void updateAccountPassword(const QString &text);

    /// \param areThere  whether something stands in the fields of an archive's sign-in, which aren't the
    /// draft's.
    void updateArchiveEntries(bool areThere);

    /// The AE title's field is left: what can be used of it stays.
    void normalizeAETitle();

    /// \param step  where to go when the repair is asked for on the summary.
    void applyFixAction(GatewaySetupIssueFixAction action,
                        std::optional<GatewaySetupStep> step = std::nullopt);

    // Ways through the steps.

    /// Checks the facts again and moves on, or shows why not, once a folder that was chosen has answered;
    /// does nothing while it is looked at.
    void goNext();
    void goBack();
    void revalidateCurrentStep();

    /// Takes over what was changed elsewhere in fields that nobody edited here.
    void followSettings();

    // The account step.

    /// Moves on without an account, and says where to sign in later.
    void skipSignIn();
    QCoro::Task<> signIn();

    /// Gives up the sign-in that was begun here and waits for its answer; what was entered stays.
    void cancelSignIn();
    bool waitsForSignIn() const { return m_waitingSignIn != 0; }

    QCoro::Task<> signOut();

    /// The cloud is asked whether its terms need an answer.
    bool isCheckingTerms() const;

    /// The terms screen's answers.
    void termsAccepted();
    QCoro::Task<> termsDeclined();

    /// Checks all once more, writes the draft, restarts the listener with it, gives its start two seconds and
    /// marks setup as done.
    ///
    /// \return true when setup is complete; else `validationMessage` tells why not.
    QCoro::Task<bool> finishSetup();

Q_SIGNALS:
    /// Something that can be read here has another value.
    void changed();

private:
    /// What was edited here, and follows the settings no more.
    struct Edits
    {
        bool aeTitle = false;
        bool port = false;
        bool advertise = false;
        bool folder = false;
        bool retention = false;
    };

    void refreshValidation(bool verifyPort);
    QCoro::Task<> askMachine(GatewaySetupStep step);
    bool mayFinish() const;
    void tellWhyNotApplied();
    QCoro::Task<> goOn();
    QCoro::Task<> revalidate();
    PortFacts portFacts() const;
    std::optional<int> ownPort() const;
    SetupAccountStanding accountStanding() const;
    bool isSignedIn() const;
    void enterStep(GatewaySetupStep step);
    void showBlockingMessage(GatewaySetupStep step);
    void setPortText(const QString &text);
    void findAvailablePort();
    void takeRecommendedListener();
    void takeDefaultFolder();
    void setAccountMessage(const std::optional<QString> &message, bool isError);
    void tellOfUnusedEntries();
    void authChanged();
    void checkTerms();
    QCoro::Task<> loadTerms();
    std::optional<QString> writeSettings();
    QCoro::Task<std::optional<QString>> startListener();
    void endApplying(const std::optional<QString> &problem);

    const SetupWizardParts m_parts;
    const std::optional<SetupAccount> m_account;
    GatewaySetupStep m_step = GatewaySetupStep::welcome;
    GatewaySetupDraft m_draft;
    Edits m_edits;
    std::optional<QString> m_validationMessage;
    std::optional<QString> m_accountMessage;
    bool m_accountMessageIsError = false;
    bool m_hasArchiveEntries = false;
    bool m_isApplying = false;
    bool m_wasSignedIn = false;
    int m_signIns = 0;
    int m_waitingSignIn = 0; // none
    QList<GatewaySetupIssue> m_validationIssues;
    QList<GatewaySetupPreflightCheck> m_summaryPreflightChecks;
    GatewaySetupPreflightResult m_summaryPreflightResult;
    std::optional<QString> m_listenerStartupFailureMessage;
    FolderCheck m_folderCheck;
    PortCheck m_portCheck;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard
