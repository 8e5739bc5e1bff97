#pragma once

#include "shell/wizard/wizard_page.h"

namespace gateway::shell {

class Button;
class CheckList;
class FormField;
class Switch;
class TextField;
class TextLabel;

/// Under which AE title and on which port the gateway listens, and the address that modalities need.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class ListenerPage final : public WizardPage
{
    Q_OBJECT

public:
    ListenerPage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup);
    ~ListenerPage() override;

    void refresh() override;
    QWidget *firstField() override;

private:
    void addConnectionSettings();
    void addEndpoint();
    QWidget *makeStaticAddressNote();
    void listen();
    void copyAddress();

    TextField *m_aeTitle;
    FormField *m_aeTitleField;
    TextField *m_port;
    FormField *m_portField;
    Switch *m_bonjour;
    Button *m_restore;
    TextLabel *m_address;
    Button *m_copy;
    CheckList *m_checks;
};

} // namespace gateway::shell
