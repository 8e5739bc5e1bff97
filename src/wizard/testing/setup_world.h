#pragma once

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/testing/session_world.h"
#include "core/dcm_listener_settings.h"
#include "wizard/gateway_setup_wizard_view_model.h"
#include "wizard/testing/fake_setup_listener.h"
#include "wizard/testing/fake_setup_machine.h"

#include <chrono>
#include <memory>

namespace gateway::wizard::testing {

/// A setup around a machine, a listener and an account that are fakes, on a manual clock.
///
/// Owner: a test. Thread: main.
struct SetupWorld : account::testing::SessionWorld
{
    SetupWorld()
    {
        core::DCMListenerSettings record;
        record.aeTitle = QStringLiteral("GATE");
        record.port = 11112;
        record.save(defaults);
    }

    ~SetupWorld() override
    {
        machine.release();
        setup.reset();
    }

    SetupWizardParts parts()
    {
        return {.defaults = defaults,
                .settings = appSettings,
                .main = main,
                .pool = pool,
                .clock = clock,
                .listener = listener,
                .turn = turn,
                .machine = machine.machine()};
    }

    /// A new setup over the settings as they stand.
    GatewaySetupWizardViewModel &open()
    {
        setup = std::make_unique<GatewaySetupWizardViewModel>(parts(), SetupAccount{auth, termsCoordinator});
        return *setup;
    }

    /// Lets time pass, unless a folder is looked at, which takes none.
    void pass(std::chrono::nanoseconds time)
    {
        if (!setup->isCheckingFolderAccess()) {
            clock.advance(time);
        }
    }

    /// Lets the debounce pass, and the look at the port after it.
    void passDebounce()
    {
        runUntil([this] {
            pass(std::chrono::milliseconds(350)); // again until the one that sleeps has begun to
            return !setup->isCheckingPortAvailability();
        });
    }

    /// Lets a look at the folder end.
    void awaitFolder()
    {
        runUntil([this] { return !setup->isCheckingFolderAccess(); });
    }

    /// A new setup whose first look at the port is over.
    GatewaySetupWizardViewModel &openSettled()
    {
        open();
        passDebounce();
        return *setup;
    }

    /// Goes on until the step is reached; never past a step that can't be left.
    void goTo(GatewaySetupStep step)
    {
        while (setup->step() < step) {
            const GatewaySetupStep before = setup->step();
            setup->goNext();
            awaitFolder();
            ASSERT_NE(setup->step(), before) << setup->validationMessage().value_or(QString()).toStdString();
        }
        runUntil([this] { return !setup->isCheckingTerms(); });
    }

    /// The end of setup, with the listener's time passed.
    bool finishSetup()
    {
        std::optional<bool> result;
        const auto task = setup->finishSetup().then([&result](bool isComplete) { result = isComplete; });
        runUntil([this, &result] {
            pass(result ? std::chrono::seconds(0) : std::chrono::seconds(2));
            return result.has_value();
        });
        return *result;
    }

    core::DCMListenerSettings record() const { return core::DCMListenerSettings::load(defaults); }

    /// The ids of a step's issues.
    QStringList issues(GatewaySetupStep step) const
    {
        QStringList ids;
        for (const GatewaySetupIssue &issue : setup->issuesForStep(step)) {
            ids.append(issue.id);
        }
        return ids;
    }

    GatewaySetupPreflightCheck check(const QString &id) const
    {
        for (const GatewaySetupPreflightCheck &check : setup->summaryPreflightChecks()) {
            if (check.id == id) {
                return check;
            }
        }
        return {};
    }

    core::Settings appSettings{defaults};
    FakeSetupMachine machine;
    FakeSetupListener listener{main, clock};
    SetupTurn turn;
    account::GatewayQuorinCloudTermsCoordinator termsCoordinator{
        {terms, defaults, main, pool, clock}, account::TermsSigner::here(QStringLiteral("3.1.0"))};
    std::unique_ptr<GatewaySetupWizardViewModel> setup;
};

} // namespace gateway::wizard::testing
