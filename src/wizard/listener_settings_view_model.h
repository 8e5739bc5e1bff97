#pragma once

#include "core/dcm_listener_settings.h"
#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::wizard {

/// The listener's settings as they stand on a form. Thread: a value, any.
struct ListenerSettingsForm
{
    bool isEnabled = true;
    QString aeTitle;
    QString portText;
    QString timeoutText; ///< seconds
    bool advertiseWithBonjour = true;
    std::optional<QString> destinationFolder; ///< nothing for the default one

    bool operator==(const ListenerSettingsForm &) const = default;
};

/// The listener's settings after setup: shown, edited, saved, with the listener restarted by them.
///
/// Fields that nobody edited here follow the settings; only edited ones are written, over those that stand by
/// then. What can't work is refused before anything is written, and before the listener is stopped.
///
/// Owner: the listener pane, or whoever stands for it. Thread: main.
class ListenerSettingsViewModel : public QObject
{
    Q_OBJECT

public:
    /// Reads the settings.
    ///
    /// \param notifications  tell of the listener's state; outlive this, as all of `parts` does.
    ListenerSettingsViewModel(const SetupWizardParts &parts, platform::NotificationCenter &notifications);
    ~ListenerSettingsViewModel() override;

    const ListenerSettingsForm &form() const { return m_form; }

    /// Takes what was edited, unless it is being saved.
    void edit(const ListenerSettingsForm &form);

    bool hasEdits() const { return m_form != m_stored; }
    bool isSaving() const { return m_isSaving; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }

    /// Where files arrive: the folder of the form, or the default one.
    QString folder() const;

    /// Drops all edits and reads the settings again.
    void reload();

    /// Takes over what was changed elsewhere in fields that nobody edited here.
    void follow();

    /// Checks the form, writes what was edited, and stops or restarts the listener by it. `errorMessage` says
    /// why nothing was written.
    QCoro::Task<> save();

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// Something that can be read here has another value.
    void changed();

private:
    ListenerSettingsForm storedForm() const;
    std::optional<QString> formIssue() const;
    bool willListenElsewhere() const;

    /// What the machine says to the form.
    struct MachineAnswer
    {
        std::optional<QString> issue;
        std::optional<QByteArray> bookmark; ///< of a folder that was chosen here
    };

    QCoro::Task<std::optional<QString>> portIssue();
    QCoro::Task<MachineAnswer> askMachine();
    std::optional<QString> write(const std::optional<QByteArray> &bookmark);
    bool writeRecord();
    bool writeFolder(const std::optional<QByteArray> &bookmark);
    void applyToListener();
    void endSaving(const std::optional<QString> &problem);

    const SetupWizardParts m_parts;
    ListenerSettingsForm m_stored; // as read last
    ListenerSettingsForm m_form;
    bool m_isSaving = false;
    std::optional<QString> m_errorMessage;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::NotificationCenter::Token m_listenerObserver;
    platform::NotificationCenter::Token m_folderObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard
