#pragma once

#include "cloud_client/qrn_user.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <optional>

namespace gateway::cloud_client {
class QrnUserAPIProtocol;
}

namespace gateway::platform {
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

class QuorinAuthViewModel;

/// The texts of a profile that its user may edit. Thread: a value, any.
struct GatewayAccountForm
{
    QString title;
    QString firstName;
    QString middleName;
    QString lastName;
    QString suffix;
    QString profession;
    QString phoneNumber;
    QString workplace;

    bool operator==(const GatewayAccountForm &) const = default;
};

/// What the profile model works with; all outlive it.
struct GatewayAccountSettingsParts
{
    cloud_client::QrnUserAPIProtocol &user;
    QuorinAuthViewModel &auth;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
};

/// The cloud user's profile as a form: loaded, edited, saved.
///
/// `reset` also ends what is under way: a profile that arrives after it belongs to a session that is over.
///
/// Owner: the account pane, or whoever stands for it. Thread: main.
class GatewayAccountSettingsViewModel : public QObject
{
    Q_OBJECT

public:
    explicit GatewayAccountSettingsViewModel(const GatewayAccountSettingsParts &parts);
    ~GatewayAccountSettingsViewModel() override;

    /// The record as it came last from the service.
    const std::optional<cloud_client::QrnUser> &user() const { return m_shown.user; }

    const GatewayAccountForm &form() const { return m_shown.form; }
    void setForm(const GatewayAccountForm &form);

    /// Not edited here.
    const QString &email() const { return m_shown.email; }
    const QList<cloud_client::QrnUserWorkplace> &workplaces() const { return m_shown.workplaces; }

    bool isLoading() const { return m_shown.isLoading; }
    bool isSaving() const { return m_shown.isSaving; }

    bool isEditing() const { return m_shown.isEditing; }
    void beginEditing();

    const std::optional<QString> &successMessage() const { return m_shown.successMessage; }
    const std::optional<QString> &errorMessage() const { return m_shown.errorMessage; }

    /// Reads the profile into the form; on a failure the form stays and `errorMessage` is set.
    ///
    /// \param force  reads beside a reading that is under way; without it the call returns at once then.
    QCoro::Task<> load(bool force);

    /// Empties everything, as when the session ends.
    void reset();

    /// Puts the form back to the record.
    void cancelEditing();

    /// Reads the record anew, and sends it with the fields that were edited here; texts that are empty after
    /// trimming are cleared at the service. Does nothing before a profile was loaded or while another saving
    /// runs.
    QCoro::Task<> save();

    /// Shows that the password was changed beside this form.
    void passwordWasChanged();

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    struct Shown
    {
        std::optional<cloud_client::QrnUser> user;
        GatewayAccountForm form;
        QString email;
        QList<cloud_client::QrnUserWorkplace> workplaces;
        bool isLoading = false;
        bool isSaving = false;
        bool isEditing = false;
        std::optional<QString> successMessage;
        std::optional<QString> errorMessage;
    };

    struct Answer
    {
        std::optional<cloud_client::QrnUser> user;
        QString error;
    };

    void applyUser(const cloud_client::QrnUser &user);
    QCoro::Task<Answer> fetch();
    QCoro::Task<Answer> update(cloud_client::QrnUpdateUserRequest request);

    const GatewayAccountSettingsParts m_parts;
    Shown m_shown;
    quint64 m_epoch = 0;         // counts resets
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
