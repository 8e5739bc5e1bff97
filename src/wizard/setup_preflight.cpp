#include "wizard/setup_preflight.h"

#include "wizard/setup_checks.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace gateway::wizard {

namespace {

using Check = GatewaySetupPreflightCheck;
using Fix = GatewaySetupIssueFixAction;
using Status = GatewaySetupPreflightCheckStatus;
using Step = GatewaySetupStep;

/// The first blocking issue whose id begins so; null where there is none.
const GatewaySetupIssue *blockingIssue(const QList<GatewaySetupIssue> &issues, const QString &idStart)
{
    const auto found = std::find_if(issues.begin(), issues.end(), [&](const GatewaySetupIssue &issue) {
        return issue.isBlocking() && issue.id.startsWith(idStart);
    });
    return found == issues.end() ? nullptr : &*found;
}

Check passed(const QString &detail)
{
    return {{}, {}, detail, Status::passed, std::nullopt, std::nullopt};
}

Check failed(const QString &detail, Step step, std::optional<Fix> fix)
{
    return {{}, {}, detail, Status::failed, step, fix};
}

Check named(Check check, const QString &id, const QString &title)
{
    check.id = id;
    check.title = title;
    return check;
}

Check aeTitleCheck(const PreflightFacts &facts)
{
    if (const auto *issue = blockingIssue(facts.listenerIssues, QStringLiteral("listener.ae"))) {
        return failed(issue->message, Step::listener, Fix::openListenerStep);
    }
    return passed(QCoreApplication::translate("SetupWizard", "AE Title is valid."));
}

Check portCheck(const PreflightFacts &facts)
{
    const std::optional<int> port = parsedPort(facts.draft.portText);
    if (!port) {
        return failed(QCoreApplication::translate("SetupWizard", "Port format is invalid."),
                      Step::listener,
                      Fix::openListenerStep);
    }
    if (facts.port.isChecking) {
        return {{}, {}, portCheckingMessage(*port), Status::checking, Step::listener, std::nullopt};
    }
    if (const auto *issue = blockingIssue(facts.listenerIssues, QStringLiteral("listener.port.pending"))) {
        return failed(issue->message, Step::listener, Fix::openListenerStep);
    }
    if (const auto *issue =
            blockingIssue(facts.listenerIssues, QStringLiteral("listener.port.unavailable"))) {
        return failed(issue->message, Step::listener, Fix::suggestAvailablePort);
    }
    return passed(QCoreApplication::translate("SetupWizard", "Port %1 is available.").arg(*port));
}

/// \param id  of the issue that the check is about.
Check folderCheck(const PreflightFacts &facts,
                  const QString &id,
                  const QString &whenDefault,
                  const QString &whenWell)
{
    if (!facts.draft.destinationFolder) {
        return passed(whenDefault);
    }
    const auto looking = std::ranges::find(facts.localIssues, kFolderCheckingIssue, &GatewaySetupIssue::id);
    if (looking != facts.localIssues.end()) {
        return {{}, {}, looking->message, Status::checking, Step::localFiles, std::nullopt};
    }
    if (const auto *issue = blockingIssue(facts.localIssues, id)) {
        return failed(issue->message, Step::localFiles, issue->fixAction);
    }
    return passed(whenWell);
}

Check bookmarkCheck(const PreflightFacts &facts)
{
    return folderCheck(facts,
                       QStringLiteral("local.folder.bookmark"),
                       QCoreApplication::translate("SetupWizard", "Using default incoming folder."),
                       QCoreApplication::translate("SetupWizard", "Bookmark is valid for %1.")
                           .arg(facts.draft.destinationFolder.value_or(QString())));
}

Check writableCheck(const PreflightFacts &facts)
{
    return folderCheck(facts,
                       QStringLiteral("local.folder.writable"),
                       QCoreApplication::translate("SetupWizard", "Default incoming folder will be used."),
                       QCoreApplication::translate("SetupWizard", "Selected folder is writable."));
}

Check startupCheck(const PreflightFacts &facts)
{
    if (facts.listenerStartupFailureMessage) {
        return failed(*facts.listenerStartupFailureMessage, Step::listener, Fix::openListenerStep);
    }
    if (blockingIssue(facts.listenerIssues, {}) != nullptr ||
        blockingIssue(facts.localIssues, {}) != nullptr) {
        return failed(
            QCoreApplication::translate(
                "SetupWizard", "Resolve blocking listener or local file issues before finishing setup."),
            Step::summary,
            std::nullopt);
    }
    return passed(QCoreApplication::translate("SetupWizard", "Listener configuration is ready to start."));
}

Check accountCheck(const PreflightFacts &facts)
{
    if (facts.account.isSignedIn) {
        return passed(QCoreApplication::translate("SetupWizard", "Account is connected."));
    }
    return {
        {},
        {},
        QCoreApplication::translate("SetupWizard", "Not connected. You can finish setup and sign in later."),
        Status::warning,
        Step::quorinAccount,
        Fix::openAccountStep};
}

QString autoDeleteValue(const GatewaySetupDraft &draft)
{
    const QString value = draft.autoDeleteValueText.trimmed();
    switch (draft.autoDeleteMode) {
    case core::GatewayAutoDeleteMode::never:
        return QCoreApplication::translate("SetupWizard", "Never");
    case core::GatewayAutoDeleteMode::days:
        return value.isEmpty() ? QCoreApplication::translate("SetupWizard", "Days (value not set)")
                               : QCoreApplication::translate("SetupWizard", "%1 day(s)").arg(value);
    case core::GatewayAutoDeleteMode::months:
        return value.isEmpty() ? QCoreApplication::translate("SetupWizard", "Months (value not set)")
                               : QCoreApplication::translate("SetupWizard", "%1 month(s)").arg(value);
    }
    return {};
}

QString accountValue(const SetupAccountStanding &account)
{
    if (!account.isSignedIn) {
        return QCoreApplication::translate("SetupWizard", "Not signed in");
    }
    const QString name = account.displayName.value_or(QString());
    return name.isEmpty() ? QCoreApplication::translate("SetupWizard", "Signed in") : name;
}

} // namespace

bool GatewaySetupPreflightResult::hasBlockingIssues() const
{
    return std::any_of(issues.begin(), issues.end(), [](const auto &issue) { return issue.isBlocking(); });
}

QList<Check> preflightChecks(const PreflightFacts &facts)
{
    return {named(aeTitleCheck(facts),
                  QStringLiteral("ae_title"),
                  QCoreApplication::translate("SetupWizard", "AE Title")),
            named(portCheck(facts),
                  QStringLiteral("port_available"),
                  QCoreApplication::translate("SetupWizard", "Port Availability")),
            named(bookmarkCheck(facts),
                  QStringLiteral("folder_bookmark"),
                  QCoreApplication::translate("SetupWizard", "Folder Permission Bookmark")),
            named(writableCheck(facts),
                  QStringLiteral("folder_writable"),
                  QCoreApplication::translate("SetupWizard", "Folder Writability")),
            named(startupCheck(facts),
                  QStringLiteral("listener_startup"),
                  QCoreApplication::translate("SetupWizard", "Listener Startup Readiness")),
            named(accountCheck(facts),
                  QStringLiteral("account_status"),
                  QCoreApplication::translate("SetupWizard", "Quorin Account"))};
}

GatewaySetupPreflightResult preflightResult(const QList<Check> &checks)
{
    GatewaySetupPreflightResult result;
    for (const Check &check : checks) {
        if (check.status != Status::failed && check.status != Status::warning) {
            continue;
        }
        result.issues.append({QStringLiteral("summary.") + check.id,
                              check.step.value_or(Step::summary),
                              GatewaySetupIssueField::summary,
                              check.detail,
                              check.status == Status::failed ? GatewaySetupIssueSeverity::error
                                                             : GatewaySetupIssueSeverity::warning,
                              check.fixAction});
    }
    return result;
}

QList<GatewaySetupSummaryRow> summaryRowsFor(const GatewaySetupDraft &draft,
                                             const SetupAccountStanding &account,
                                             const QString &defaultFolder)
{
    return {
        {QStringLiteral("ae_title"), QCoreApplication::translate("SetupWizard", "AE Title"), draft.aeTitle},
        {QStringLiteral("listener_address"),
         QCoreApplication::translate("SetupWizard", "Listener Address"),
         draft.listenerAddress},
        {QStringLiteral("bonjour"),
         QCoreApplication::translate("SetupWizard", "Bonjour"),
         draft.advertiseWithBonjour ? QCoreApplication::translate("SetupWizard", "Enabled")
                                    : QCoreApplication::translate("SetupWizard", "Disabled")},
        {QStringLiteral("incoming_folder"),
         QCoreApplication::translate("SetupWizard", "Incoming Folder"),
         draft.destinationFolder.value_or(defaultFolder)},
        {QStringLiteral("auto_delete"),
         QCoreApplication::translate("SetupWizard", "Auto-delete"),
         autoDeleteValue(draft)},
        {QStringLiteral("quorin_account"),
         QCoreApplication::translate("SetupWizard", "Quorin Account"),
         accountValue(account)}};
}

} // namespace gateway::wizard
