#include "terminal/commands/retention_option.h"

#include <QtCore/QRegularExpression>

namespace gateway::terminal {

std::optional<RetentionOption> parseRetentionOption(const QString &text)
{
    if (text == QStringLiteral("never")) {
        return RetentionOption{};
    }
    static const QRegularExpression form(QStringLiteral("\\A([0-9]+)-(days|months)\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const bool inDays = match.capturedView(2) == QStringLiteral("days");
    return RetentionOption{inDays ? core::GatewayAutoDeleteMode::days : core::GatewayAutoDeleteMode::months,
                           match.captured(1)};
}

QString retentionText(const core::RetentionPolicy &policy)
{
    const QString mode = core::rawValue(policy.mode);
    return policy.mode == core::GatewayAutoDeleteMode::never
               ? mode
               : QString::number(policy.value) + QLatin1Char('-') + mode;
}

} // namespace gateway::terminal
