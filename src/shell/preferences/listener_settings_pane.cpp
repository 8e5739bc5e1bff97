#include "shell/preferences/listener_settings_pane.h"

#include "receive/dimse_listener_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/card_page.h"
#include "shell/controls/folder_rows.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/state_label.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "wizard/listener_settings_view_model.h"
#include "wizard/setup_checks.h"

#include <QCoro/QCoroTask>

#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using receive::DimseListenerViewModel;
using wizard::ListenerSettingsForm;
using wizard::ListenerSettingsViewModel;

ListenerSettingsPane::ListenerSettingsPane(const PreferencesParts &parts)
    : SettingsPaneContainer(parts.theme, tr("Listener Settings"), parts.actions.openSetupWizard),
      m_parts(parts), m_state(new StateLabel(parts.theme)),
      m_isEnabled(new Switch(parts.theme, tr("Enable Listener"))), m_aeTitle(new TextField(parts.theme)),
      m_aeTitleField(new FormField(parts.theme, tr("AE Title"), m_aeTitle)),
      m_port(new TextField(parts.theme)), m_timeout(new TextField(parts.theme)),
      m_advertise(new Switch(parts.theme, tr("Advertise With Bonjour"))),
      m_folder(new TextLabel(parts.theme, {}, TypeStyle::body)),
      m_choose(new Button(parts.theme, ButtonKind::secondary, tr("Choose"), QStringLiteral("folder"))),
      m_default(new Button(parts.theme, ButtonKind::secondary, tr("Reset to Default"))),
      m_error(new InlineError(parts.theme)),
      m_consequence(new TextLabel(parts.theme,
                                  tr("Saving restarts the listener and breaks off transfers under way."),
                                  TypeStyle::small,
                                  Color::muted)),
      m_reload(new Button(parts.theme, ButtonKind::secondary, tr("Reload"))),
      m_save(new PrimaryButton(parts.theme, tr("Save Changes")))
{
    setSubtitle(tr("Configure how Quorin Gateway receives local DICOM studies."));
    addStatus();
    addConnection();
    addStorage();
    page().endCards();
    addFoot();
    listen();
    showForm();
    showListener();
}

void ListenerSettingsPane::addStatus()
{
    Card &card = page().addCard(tr("Status"));
    card.body().addWidget(m_state);
    card.body().addWidget(m_isEnabled);
}

void ListenerSettingsPane::addConnection()
{
    Card &card = page().addCard(tr("Connection"));
    card.body().addWidget(m_aeTitleField);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::wide));
    row->addWidget(new FormField(theme(), tr("Port"), m_port), 1, Qt::AlignTop);
    row->addWidget(new FormField(theme(), tr("Timeout (seconds)"), m_timeout), 1, Qt::AlignTop);
    card.body().addLayout(row);
    card.body().addWidget(m_advertise);
}

void ListenerSettingsPane::addStorage()
{
    Card &card = page().addCard(tr("Storage"));
    addFolderRows(card, theme(), tr("Destination Folder"), m_folder, {m_choose, m_default});
}

void ListenerSettingsPane::addFoot()
{
    foot().addWidget(m_error);
    m_consequence->setWordWrap(true);
    foot().addWidget(m_consequence);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::tight));
    row->addStretch(1);
    row->addWidget(m_reload);
    row->addWidget(m_save);
    foot().addLayout(row);
}

void ListenerSettingsPane::listen()
{
    ListenerSettingsViewModel &settings = m_parts.listener.settings;
    connect(&settings, &ListenerSettingsViewModel::changed, this, &ListenerSettingsPane::showForm);
    connect(
        &m_parts.listener.state, &DimseListenerViewModel::changed, this, &ListenerSettingsPane::showListener);
    for (const QLineEdit *field : {m_aeTitle, m_port, m_timeout}) {
        connect(field, &QLineEdit::textEdited, this, &ListenerSettingsPane::edited);
        connect(field, &QLineEdit::returnPressed, this, &ListenerSettingsPane::save);
    }
    for (const Switch *one : {m_isEnabled, m_advertise}) {
        connect(one, &QAbstractButton::clicked, this, &ListenerSettingsPane::edited);
    }
    connect(m_choose, &QPushButton::clicked, this, &ListenerSettingsPane::chooseFolder);
    connect(m_default, &QPushButton::clicked, this, [this] { setFolder(std::nullopt); });
    connect(m_reload, &QPushButton::clicked, &settings, &ListenerSettingsViewModel::reload);
    connect(m_save, &QPushButton::clicked, this, &ListenerSettingsPane::save);
}

void ListenerSettingsPane::follow()
{
    m_parts.listener.state.refresh();
    m_parts.listener.settings.follow();
}

void ListenerSettingsPane::edited()
{
    ListenerSettingsForm form = m_parts.listener.settings.form();
    form.isEnabled = m_isEnabled->isChecked();
    form.aeTitle = m_aeTitle->text();
    form.portText = m_port->text();
    form.timeoutText = m_timeout->text();
    form.advertiseWithBonjour = m_advertise->isChecked();
    m_parts.listener.settings.edit(form);
}

void ListenerSettingsPane::chooseFolder()
{
    m_parts.actions.chooseFolder(window(), [this](const QString &folder) {
        if (!folder.isEmpty()) {
            setFolder(folder);
        }
    });
}

void ListenerSettingsPane::setFolder(const std::optional<QString> &folder)
{
    ListenerSettingsForm form = m_parts.listener.settings.form();
    form.destinationFolder = folder;
    m_parts.listener.settings.edit(form);
}

void ListenerSettingsPane::save()
{
    ListenerSettingsViewModel &settings = m_parts.listener.settings;
    if (settings.hasEdits() && !settings.isSaving()) {
        QCoro::connect(settings.save(), this, [] {});
    }
}

void ListenerSettingsPane::showForm()
{
    const ListenerSettingsViewModel &settings = m_parts.listener.settings;
    const ListenerSettingsForm &form = settings.form();
    const auto show = [&settings](TextField *field, const QString &text) {
        if (field->text() != text) {
            field->setText(text);
        }
        field->setReadOnly(settings.isSaving());
    };
    m_isEnabled->setChecked(form.isEnabled);
    show(m_aeTitle, form.aeTitle);
    m_aeTitleField->setHint(wizard::aeTitleHint(form.aeTitle).value_or(QString()));
    show(m_port, form.portText);
    show(m_timeout, form.timeoutText);
    m_advertise->setChecked(form.advertiseWithBonjour);
    m_folder->setText(settings.folder());
    for (QWidget *widget : {static_cast<QWidget *>(m_isEnabled),
                            static_cast<QWidget *>(m_advertise),
                            static_cast<QWidget *>(m_choose)}) {
        widget->setEnabled(!settings.isSaving());
    }
    m_default->setEnabled(form.destinationFolder.has_value() && !settings.isSaving());
    m_reload->setEnabled(!settings.isSaving());
    m_save->setBusy(settings.isSaving());
    m_save->setEnabled(settings.hasEdits() || settings.isSaving());
    m_consequence->setVisible(settings.hasEdits() && m_parts.listener.state.isOn());
    const QString error = settings.errorMessage().value_or(QString());
    m_port->setInvalid(!error.isEmpty() && wizard::portFormatIssue(form.portText));
    m_timeout->setInvalid(!error.isEmpty() && wizard::timeoutIssue(form.timeoutText));
    m_aeTitle->setInvalid(!error.isEmpty() && wizard::aeTitleIssue(form.aeTitle));
    if (error.isEmpty()) {
        m_error->hide();
    } else if (error != m_shownError) {
        m_error->showMessage(error, tr("Nothing has been saved. The listener goes on as before."));
    }
    m_shownError = error;
}

void ListenerSettingsPane::showListener()
{
    const DimseListenerViewModel &listener = m_parts.listener.state;
    switch (listener.state()) {
    case state::ListenerState::stopped:
        m_state->setState(tr("Stopped"), Color::muted);
        break;
    case state::ListenerState::starting:
        m_state->setState(tr("Starting"), Color::amber);
        break;
    case state::ListenerState::restarting:
        m_state->setState(tr("Restarting"), Color::amber);
        break;
    case state::ListenerState::failed:
        m_state->setState(tr("Failed"), Color::red);
        break;
    case state::ListenerState::listening:
        m_state->setState(tr("Listening on Port %1").arg(listener.settings().port), Color::green);
        break;
    }
    showForm();
}

} // namespace gateway::shell
