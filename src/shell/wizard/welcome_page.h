#pragma once

#include "shell/wizard/wizard_page.h"

namespace gateway::shell {

/// What setup is about.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class WelcomePage final : public WizardPage
{
    Q_OBJECT

public:
    WelcomePage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup);
};

} // namespace gateway::shell
