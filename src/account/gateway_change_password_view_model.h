#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

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

/// The three texts of a password change, as typed. Thread: a value, any.
struct GatewayPasswordForm
{
    QString currentPassword;
    QString newPassword;
    QString confirmPassword;
};

/// What the password model works with; all outlive it.
struct GatewayChangePasswordParts
{
    cloud_client::QrnUserAPIProtocol &user;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
};

/// Changes the password of the signed-in user.
///
/// Owner: the password sheet, or whoever stands for it. Thread: main.
class GatewayChangePasswordViewModel : public QObject
{
    Q_OBJECT

public:
    explicit GatewayChangePasswordViewModel(const GatewayChangePasswordParts &parts);
    ~GatewayChangePasswordViewModel() override;

    const GatewayPasswordForm &form() const { return m_form; }
    void setForm(const GatewayPasswordForm &form) { m_form = form; }

    bool isSaving() const { return m_isSaving; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }

    /// Checks the form and sends it.
    ///
    /// \return true when the password was changed; false with `errorMessage` set, or when a change is under
    /// way.
    QCoro::Task<bool> changePassword();

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// Some field other than the form has another value.
    void changed();

private:
    const GatewayChangePasswordParts m_parts;
    GatewayPasswordForm m_form;
    bool m_isSaving = false;
    std::optional<QString> m_errorMessage;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
