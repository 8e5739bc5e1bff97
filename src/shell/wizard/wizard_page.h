#pragma once

#include "shell/controls/card_page.h"
#include "wizard/gateway_setup_wizard_view_model.h"

namespace gateway::shell {

/// The page of one step.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class WizardPage : public CardPage
{
    Q_OBJECT

public:
    WizardPage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup, QWidget *parent = nullptr)
        : CardPage(theme, parent), m_setup(setup)
    {
    }

    /// Shows what the model says by now.
    virtual void refresh() {}

    /// Where the keyboard is when the page comes; null where nothing is entered.
    virtual QWidget *firstField() { return nullptr; }

Q_SIGNALS:
    /// Return was pressed in a field: the step's own way on.
    void goOnRequested();

    /// What the keyboard was at is gone; it isn't to land on whatever comes next.
    void focusGone();

protected:
    wizard::GatewaySetupWizardViewModel &setup() { return m_setup; }

private:
    wizard::GatewaySetupWizardViewModel &m_setup;
};

} // namespace gateway::shell
