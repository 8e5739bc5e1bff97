#pragma once

#include "wizard/gateway_setup_step.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// What an issue is about.
enum class GatewaySetupIssueField
{
    aeTitle,
    port,
    destinationFolder,
    autoDeleteValue,
    account,
    summary
};

/// Only an error stands in the way.
enum class GatewaySetupIssueSeverity
{
    error,
    warning
};

/// Repairs that may be offered beside a failed check.
enum class GatewaySetupIssueFixAction
{
    suggestAvailablePort,
    restoreRecommendedListenerDefaults,
    restoreRecommendedLocalDefaults,
    useDefaultFolder,
    rerunFolderProbe,
    openListenerStep,
    openLocalFilesStep,
    openAccountStep
};

/// One thing that setup finds to say about its draft. Thread: a plain value.
struct GatewaySetupIssue
{
    QString id; ///< such as "listener.port.invalid"
    GatewaySetupStep step = GatewaySetupStep::welcome;
    GatewaySetupIssueField field = GatewaySetupIssueField::summary;
    QString message; ///< a sentence for people
    GatewaySetupIssueSeverity severity = GatewaySetupIssueSeverity::error;
    std::optional<GatewaySetupIssueFixAction> fixAction;

    bool isBlocking() const { return severity == GatewaySetupIssueSeverity::error; }
    bool operator==(const GatewaySetupIssue &) const = default;
};

} // namespace gateway::wizard
