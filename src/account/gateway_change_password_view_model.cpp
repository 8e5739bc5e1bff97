#include "account/gateway_change_password_view_model.h"

#include "cloud_client/qrn_user_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::account {

namespace {

QString noMatch()
{
    return QCoreApplication::translate("Account", "New passwords do not match.");
}

/// What is wrong with the form, the first thing only; nothing when it may be sent.
std::optional<QString> issueOf(const GatewayPasswordForm &form)
{
    if (form.currentPassword.trimmed().isEmpty()) {
        return QCoreApplication::translate("Account", "Current password is required.");
    }
    // A new password may be made of spaces.
    if (form.newPassword.isEmpty()) {
        return QCoreApplication::translate("Account", "New password is required.");
    }
    if (form.confirmPassword.isEmpty()) {
        return QCoreApplication::translate("Account", "Please confirm your new password.");
    }
    return form.newPassword == form.confirmPassword ? std::nullopt : std::optional(noMatch());
}

QString failureText(const std::exception &error)
{
    using cloud_client::QrnErrorKind;
    if (const auto *response = dynamic_cast<const cloud_client::QrnErrorResponse *>(&error)) {
        if (response->kind == QrnErrorKind::sessionInvalid) {
            return QCoreApplication::translate("Account", "Your session has expired. Please sign in again.");
        }
        if (response->kind == QrnErrorKind::passwordsDoNotMatch) {
            return noMatch();
        }
        if (response->kind == QrnErrorKind::currentPasswordIncorrect) {
            return QCoreApplication::translate("Account", "Current password is incorrect.");
        }
    }
    return cloud_client::userFacingMessage(
        error, QCoreApplication::translate("Account", "Failed to change password. Please try again."));
}

} // namespace

GatewayChangePasswordViewModel::GatewayChangePasswordViewModel(const GatewayChangePasswordParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewayChangePasswordViewModel");
}

GatewayChangePasswordViewModel::~GatewayChangePasswordViewModel()
{
    close();
}

void GatewayChangePasswordViewModel::close()
{
    m_scope.close();
}

QCoro::Task<bool> GatewayChangePasswordViewModel::changePassword()
{
    if (m_isSaving || m_scope.stopToken().stop_requested()) {
        co_return false;
    }
    m_errorMessage = issueOf(m_form);
    if (m_errorMessage) {
        Q_EMIT changed();
        co_return false;
    }
    const auto operation = m_scope.enter();
    m_isSaving = true;
    Q_EMIT changed();
    const cloud_client::QrnPasswordChangeRequest request{
        m_form.currentPassword, m_form.newPassword, m_form.confirmPassword};
    std::optional<QString> error;
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user, request] { api->changePassword(request); });
    } catch (const std::exception &failure) {
        error = failureText(failure);
    }
    m_errorMessage = std::move(error);
    m_isSaving = false;
    Q_EMIT changed();
    co_return !m_errorMessage.has_value();
}

} // namespace gateway::account
