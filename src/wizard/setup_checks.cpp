#include "wizard/setup_checks.h"

#include "core/ae_title_formatter.h"
#include "core/retention_policy.h"

#include <QtCore/QCoreApplication>

namespace gateway::wizard {

namespace {

/// A decimal number with an optional sign; blanks around it are of no account.
std::optional<int> decimal(const QString &text)
{
    bool isNumber = false;
    const int number = text.trimmed().toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool isWithin(std::optional<int> value, int last)
{
    return value && *value >= 1 && *value <= last;
}

} // namespace

QString digitsIn(const QString &text)
{
    QString digits;
    for (const char32_t character : text.toStdU32String()) {
        if (QChar::isNumber(character)) {
            digits.append(QStringView(QChar::fromUcs4(character)));
        }
    }
    return digits;
}

std::optional<int> parsedPort(const QString &text)
{
    const std::optional<int> number = decimal(text);
    return isWithin(number, 65535) ? number : std::nullopt;
}

std::optional<int> parsedRetentionValue(const QString &text)
{
    return decimal(text);
}

std::optional<QString> aeTitleIssue(const QString &aeTitle)
{
    const QString trimmed = aeTitle.trimmed();
    if (trimmed.isEmpty()) {
        return QCoreApplication::translate("SetupWizard", "AE Title is required.");
    }
    if (core::AETitleFormatter::format(trimmed).isEmpty()) {
        return QCoreApplication::translate("SetupWizard",
                                           "AE Title must include at least one letter or number.");
    }
    return std::nullopt;
}

std::optional<QString> aeTitleHint(const QString &aeTitle)
{
    if (std::optional<QString> issue = aeTitleIssue(aeTitle)) {
        return issue;
    }
    const QString trimmed = aeTitle.trimmed();
    const QString formatted = core::AETitleFormatter::format(trimmed);
    return formatted == trimmed
               ? std::nullopt
               : std::optional(
                     QCoreApplication::translate("SetupWizard", "Will be formatted as: %1").arg(formatted));
}

std::optional<QString> portFormatIssue(const QString &portText)
{
    return parsedPort(portText) ? std::nullopt
                                : std::optional(QCoreApplication::translate(
                                      "SetupWizard", "Port must be a number between 1 and 65535."));
}

std::optional<QString> portStateIssue(int port, PortState state)
{
    switch (state) {
    case PortState::available:
        return std::nullopt;
    case PortState::inUse:
        return QCoreApplication::translate("SetupWizard", "Port %1 is already in use by another process.")
            .arg(port);
    case PortState::forbidden:
        return QCoreApplication::translate(
                   "SetupWizard",
                   "Port %1 needs rights that this user doesn't have; choose one from 1024 up.")
            .arg(port);
    case PortState::noAddress:
        return QCoreApplication::translate(
                   "SetupWizard",
                   "Port %1 can't be listened on: this machine doesn't have the address to bind.")
            .arg(port);
    }
    return std::nullopt;
}

std::optional<QString> timeoutIssue(const QString &secondsText)
{
    return isWithin(decimal(secondsText), 600)
               ? std::nullopt
               : std::optional(QCoreApplication::translate("SetupWizard",
                                                           "Timeout must be a number between 1 and 600."));
}

std::optional<QString> retentionIssue(core::GatewayAutoDeleteMode mode, const QString &valueText)
{
    return core::isValidAutoDeleteValue(mode, parsedRetentionValue(valueText))
               ? std::nullopt
               : std::optional(core::autoDeleteValueMessage(mode));
}

} // namespace gateway::wizard
