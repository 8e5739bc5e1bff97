#include "wizard/setup_summary_text.h"

#include <QtCore/QLocale>
#include <QtCore/QStringList>

namespace gateway::wizard {

namespace {

QString word(GatewaySetupPreflightCheckStatus status)
{
    switch (status) {
    case GatewaySetupPreflightCheckStatus::passed:
        return QStringLiteral("PASSED");
    case GatewaySetupPreflightCheckStatus::warning:
        return QStringLiteral("WARNING");
    case GatewaySetupPreflightCheckStatus::failed:
        return QStringLiteral("FAILED");
    case GatewaySetupPreflightCheckStatus::checking:
        return QStringLiteral("CHECKING");
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
    QStringList lines{QStringLiteral("Quorin Gateway Setup Summary"),
                      QStringLiteral("Exported At: ") +
                          QLocale::c().toString(now.toUTC(), QStringLiteral("yyyy-MM-dd HH:mm:ss 'UTC'")),
                      QString(),
                      QStringLiteral("Settings:")};
    for (const GatewaySetupSummaryRow &row : rows) {
        lines.append(QStringLiteral("- %1: %2").arg(row.title, row.value));
    }
    if (rows.isEmpty()) {
        lines.append(QStringLiteral("- None"));
    }
    lines.append({QString(), QStringLiteral("Preflight Checks:")});
    for (const GatewaySetupPreflightCheck &check : checks) {
        lines.append(QStringLiteral("[%1] %2: %3").arg(word(check.status), check.title, check.detail));
    }
    if (checks.isEmpty()) {
        lines.append(QStringLiteral("- None"));
    }
    return lines.join(u'\n');
}

} // namespace gateway::wizard
