#pragma once

#include "wizard/gateway_setup_draft.h"
#include "wizard/gateway_setup_issue.h"
#include "wizard/setup_issues.h"

#include <QtCore/QList>

#include <optional>

namespace gateway::wizard {

enum class GatewaySetupPreflightCheckStatus
{
    passed,
    warning,
    failed,
    checking
};

/// One thing that is looked at before setup is applied. Thread: a plain value.
struct GatewaySetupPreflightCheck
{
    QString id;
    QString title;
    QString detail; ///< a sentence for people
    GatewaySetupPreflightCheckStatus status = GatewaySetupPreflightCheckStatus::passed;
    std::optional<GatewaySetupStep> step; ///< where to go to mend it
    std::optional<GatewaySetupIssueFixAction> fixAction;

    bool operator==(const GatewaySetupPreflightCheck &) const = default;
};

/// What the checks have against applying the draft. Thread: a plain value.
struct GatewaySetupPreflightResult
{
    QList<GatewaySetupIssue> issues;

    bool hasBlockingIssues() const;
};

/// A line of what will be applied. Thread: a plain value.
struct GatewaySetupSummaryRow
{
    QString id;
    QString title;
    QString value;

    bool operator==(const GatewaySetupSummaryRow &) const = default;
};

/// The account as the summary tells of it.
struct SetupAccountStanding
{
    bool isSignedIn = false;
    std::optional<QString> displayName;
};

/// What the six checks go by.
struct PreflightFacts
{
    const GatewaySetupDraft &draft;
    PortFacts port;
    QList<GatewaySetupIssue> listenerIssues;
    QList<GatewaySetupIssue> localIssues;
    std::optional<QString> listenerStartupFailureMessage;
    SetupAccountStanding account;
};

// Thread: plain functions.

/// AE title, port, the folder twice, the listener's start, the account.
QList<GatewaySetupPreflightCheck> preflightChecks(const PreflightFacts &facts);

/// One issue for each check that failed or warns.
GatewaySetupPreflightResult preflightResult(const QList<GatewaySetupPreflightCheck> &checks);

/// \param defaultFolder  where files arrive when no folder is chosen.
QList<GatewaySetupSummaryRow> summaryRowsFor(const GatewaySetupDraft &draft,
                                             const SetupAccountStanding &account,
                                             const QString &defaultFolder);

} // namespace gateway::wizard
