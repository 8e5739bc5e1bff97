#include "terminal/instance/setup_commands.h"

#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"
#include "terminal/commands/retention_option.h"
#include "wizard/setup_checks.h"

#include <optional>
#include <utility>

namespace gateway::terminal {

namespace {

/// Enters what was given. \return the answer when it can't be entered as it is.
std::optional<ControlReply> enter(wizard::GatewaySetupWizardViewModel &setup, const SetupCommand &given)
{
    // As typed: the field of a screen would drop all but the digits.
    if (const std::optional<QString> issue = wizard::portFormatIssue(given.port)) {
        return ControlReply::failure(*issue);
    }
    if (given.autoDelete) {
        const std::optional<RetentionOption> retention = parseRetentionOption(*given.autoDelete);
        if (!retention) {
            return ControlReply::failure(QStringLiteral("This is no retention policy."), ExitCode::usage);
        }
        setup.updateAutoDeleteMode(retention->mode);
        setup.updateAutoDeleteValueText(retention->valueText);
    }
    setup.updateAETitle(given.aeTitle);
    setup.updatePortText(given.port);
    if (given.incomingFolder) {
        setup.updateDestinationFolder(*given.incomingFolder);
    }
    if (given.withoutBonjour) {
        setup.updateAdvertiseWithBonjour(false);
    }
    return std::nullopt;
}

} // namespace

QCoro::Task<ControlReply> carryOutSetup(wizard::SetupWizardParts parts, ControlRequest request)
{
    wizard::GatewaySetupWizardViewModel setup(parts, std::nullopt);
    const std::optional<ControlReply> refusal = enter(setup, setupCommandIn(request));
    if (refusal) {
        co_return *refusal;
    }
    const bool isComplete = co_await setup.finishSetup();
    if (!isComplete) {
        co_return ControlReply::failure(setup.validationMessage().value_or(QString()));
    }
    co_return ControlReply::success({{QStringLiteral("address"), setup.draft().listenerAddress}});
}

SetupCommands::SetupCommands(wizard::SetupWizardParts parts)
    : m_parts(std::move(parts)), m_scope(m_parts.main, m_parts.pool)
{
    platform::assertMainThread("SetupCommands");
}

bool SetupCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command != requests::kSetup) {
        return false;
    }
    m_scope.start(apply(request, answer));
    return true;
}

QCoro::Task<void> SetupCommands::apply(ControlRequest request, Answer answer)
{
    const ControlReply reply = co_await carryOutSetup(m_parts, std::move(request));
    answer(reply);
}

} // namespace gateway::terminal
