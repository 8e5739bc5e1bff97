#pragma once

#include "shell/preferences/preferences_parts.h"
#include "shell/preferences/settings_pane_container.h"

namespace gateway::shell {

class Button;
class FormField;
class InlineError;
class StateLabel;
class Switch;
class TextField;
class TextLabel;

/// How images come in: the listener, its address, the folder that it writes to. Nothing counts before it is
/// saved.
///
/// Owner: QuorinGatewaySettingsView. Thread: main.
class ListenerSettingsPane final : public SettingsPaneContainer
{
    Q_OBJECT

public:
    explicit ListenerSettingsPane(const PreferencesParts &parts);

    void follow() override;

private:
    void addStatus();
    void addConnection();
    void addStorage();
    void addFoot();
    void listen();
    void edited();
    void save();
    void chooseFolder();
    void setFolder(const std::optional<QString> &folder);
    void showForm();
    void showListener();

    const PreferencesParts m_parts;
    StateLabel *m_state;
    Switch *m_isEnabled;
    TextField *m_aeTitle;
    FormField *m_aeTitleField;
    TextField *m_port;
    TextField *m_timeout;
    Switch *m_advertise;
    TextLabel *m_folder;
    Button *m_choose;
    Button *m_default;
    InlineError *m_error;
    QString m_shownError;
    TextLabel *m_consequence;
    Button *m_reload;
    Button *m_save;
};

} // namespace gateway::shell
