#pragma once

#include "wizard/folder_check.h"
#include "wizard/gateway_setup_draft.h"
#include "wizard/gateway_setup_issue.h"
#include "wizard/port_probe.h"

#include <QtCore/QList>

#include <optional>

namespace gateway::wizard {

/// What is known of the port in the draft.
struct PortFacts
{
    bool isChecking = false;
    std::optional<PortState> state; ///< nothing while the port wasn't asked for
};

/// What is known of the folder in the draft.
struct FolderFacts
{
    bool isChecking = false;
    FolderValidationResult found;
};

/// The issue of a folder that is being looked at.
inline const QString kFolderCheckingIssue = QStringLiteral("local.folder.checking");

// What setup has to say about a draft, in the order of its fields. Thread: plain functions.

QList<GatewaySetupIssue> listenerIssues(const GatewaySetupDraft &draft, const PortFacts &port);
QList<GatewaySetupIssue> localIssues(const GatewaySetupDraft &draft, const FolderFacts &folder);

/// "Checking whether port 1115 is available..."
QString portCheckingMessage(int port);

} // namespace gateway::wizard
