#include "wizard/setup_issues.h"

#include "wizard/setup_checks.h"

#include <QtCore/QCoreApplication>

namespace gateway::wizard {

namespace {

using Field = GatewaySetupIssueField;
using Fix = GatewaySetupIssueFixAction;
using Severity = GatewaySetupIssueSeverity;

GatewaySetupIssue listenerIssue(const QString &id,
                                Field field,
                                const QString &message,
                                std::optional<Fix> fix,
                                Severity severity = Severity::error)
{
    return {id, GatewaySetupStep::listener, field, message, severity, fix};
}

GatewaySetupIssue localIssue(const QString &id,
                             Field field,
                             const QString &message,
                             std::optional<Fix> fix,
                             Severity severity = Severity::error)
{
    return {id, GatewaySetupStep::localFiles, field, message, severity, fix};
}

/// At most one thing is said about the port.
std::optional<GatewaySetupIssue> portIssue(const QString &portText, const PortFacts &facts)
{
    const std::optional<int> port = parsedPort(portText);
    if (!port) {
        return listenerIssue(QStringLiteral("listener.port.invalid"),
                             Field::port,
                             portFormatIssue(portText).value_or(QString()),
                             Fix::restoreRecommendedListenerDefaults);
    }
    if (facts.isChecking) {
        return listenerIssue(QStringLiteral("listener.port.checking"),
                             Field::port,
                             portCheckingMessage(*port),
                             std::nullopt,
                             Severity::warning);
    }
    if (!facts.state) {
        return listenerIssue(
            QStringLiteral("listener.port.pending"),
            Field::port,
            QCoreApplication::translate("SetupWizard", "Port availability has not been verified yet."),
            std::nullopt);
    }
    if (const std::optional<QString> message = portStateIssue(*port, *facts.state)) {
        return listenerIssue(
            QStringLiteral("listener.port.unavailable"), Field::port, *message, Fix::suggestAvailablePort);
    }
    return std::nullopt;
}

} // namespace

QString portCheckingMessage(int port)
{
    return QCoreApplication::translate("SetupWizard", "Checking whether port %1 is available...").arg(port);
}

QList<GatewaySetupIssue> listenerIssues(const GatewaySetupDraft &draft, const PortFacts &port)
{
    QList<GatewaySetupIssue> issues;
    if (const std::optional<QString> message = aeTitleIssue(draft.aeTitle)) {
        const bool isEmpty = draft.aeTitle.trimmed().isEmpty();
        issues.append(listenerIssue(isEmpty ? QStringLiteral("listener.ae.required")
                                            : QStringLiteral("listener.ae.invalid"),
                                    Field::aeTitle,
                                    *message,
                                    Fix::restoreRecommendedListenerDefaults));
    }
    if (std::optional<GatewaySetupIssue> issue = portIssue(draft.portText, port)) {
        issues.append(*std::move(issue));
    }
    return issues;
}

QList<GatewaySetupIssue> localIssues(const GatewaySetupDraft &draft, const FolderFacts &folder)
{
    QList<GatewaySetupIssue> issues;
    if (folder.isChecking) {
        issues.append(localIssue(
            kFolderCheckingIssue,
            Field::destinationFolder,
            QCoreApplication::translate("SetupWizard", "Checking whether the folder can be used..."),
            std::nullopt,
            Severity::warning));
    }
    if (folder.found.bookmarkIssue) {
        issues.append(localIssue(QStringLiteral("local.folder.bookmark"),
                                 Field::destinationFolder,
                                 *folder.found.bookmarkIssue,
                                 Fix::useDefaultFolder));
    }
    if (folder.found.writeIssue) {
        issues.append(localIssue(QStringLiteral("local.folder.writable"),
                                 Field::destinationFolder,
                                 *folder.found.writeIssue,
                                 Fix::rerunFolderProbe));
    }
    if (const std::optional<QString> message =
            retentionIssue(draft.autoDeleteMode, draft.autoDeleteValueText)) {
        issues.append(localIssue(
            QStringLiteral("local.auto_delete.%1.invalid").arg(core::rawValue(draft.autoDeleteMode)),
            Field::autoDeleteValue,
            *message,
            Fix::restoreRecommendedLocalDefaults));
    }
    return issues;
}

} // namespace gateway::wizard
