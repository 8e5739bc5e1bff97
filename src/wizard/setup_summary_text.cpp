#include "wizard/setup_summary_text.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QStringList>

namespace gateway::wizard {

namespace {

QString word(GatewaySetupPreflightCheckStatus status)
{
    switch (status) {
    case GatewaySetupPreflightCheckStatus::passed:
        return QCoreApplication::translate("SetupWizard", "PASSED");
    case GatewaySetupPreflightCheckStatus::warning:
        return QCoreApplication::translate("SetupWizard", "WARNING");
    case GatewaySetupPreflightCheckStatus::failed:
        return QCoreApplication::translate("SetupWizard", "FAILED");
    case GatewaySetupPreflightCheckStatus::checking:
        return QCoreApplication::translate("SetupWizard", "CHECKING");
    }
    return {};
}

} // namespace

QString setupSummaryFileName(const QDateTime &now)
{
    return QStringLiteral("QuorinGateway-SetupSummary-") +
           QLocale::c().toString(now.toLocalTime(), QStringLiteral("yyyyMMdd-HHmmss")) +
           QStringLiteral(".pdf");
}

QString setupSummaryText(const QDateTime &now,
                         const QList<GatewaySetupSummaryRow> &rows,
                         const QList<GatewaySetupPreflightCheck> &checks)
{
    const QString none = QCoreApplication::translate("SetupWizard", "- None");
    const QString utc = QLocale::c().toString(now.toUTC(), QStringLiteral("yyyy-MM-dd HH:mm:ss 'UTC'"));
    QStringList lines{QCoreApplication::translate("SetupWizard", "Quorin Gateway Setup Summary"),
                      QCoreApplication::translate("SetupWizard", "Exported At: %1").arg(utc),
                      QString(),
                      QCoreApplication::translate("SetupWizard", "Settings:")};
    for (const GatewaySetupSummaryRow &row : rows) {
        lines.append(QStringLiteral("- %1: %2").arg(row.title, row.value));
    }
    if (rows.isEmpty()) {
        lines.append(none);
    }
    lines.append({QString(), QCoreApplication::translate("SetupWizard", "Preflight Checks:")});
    for (const GatewaySetupPreflightCheck &check : checks) {
        lines.append(QStringLiteral("[%1] %2: %3").arg(word(check.status), check.title, check.detail));
    }
    if (checks.isEmpty()) {
        lines.append(none);
    }
    return lines.join(u'\n');
}

} // namespace gateway::wizard
