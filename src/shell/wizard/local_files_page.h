#pragma once

#include "shell/wizard/wizard_page.h"
#include "shell/wizard/wizard_parts.h"

namespace gateway::shell {

class Button;
class CheckList;
class SegmentedControl;
class TextField;
class TextLabel;

/// Where incoming files arrive, and how long uploaded ones stay.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class LocalFilesPage final : public WizardPage
{
    Q_OBJECT

public:
    using ChooseFolder = decltype(WizardParts::Dialogs::chooseFolder);

    LocalFilesPage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup, ChooseFolder chooseFolder);

    void refresh() override;
    QWidget *firstField() override;

private:
    void addStorage();
    void addRetention();
    void listen();
    void chooseFolder();

    const ChooseFolder m_chooseFolder;
    TextLabel *m_folder;
    Button *m_choose;
    Button *m_default;
    Button *m_restore;
    SegmentedControl *m_mode;
    QWidget *m_amount;
    TextField *m_value;
    TextLabel *m_unit;
    CheckList *m_checks;
};

} // namespace gateway::shell
