#include "account/gateway_account_settings_view_model.h"

#include "account/quorin_auth_view_model.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::account {

namespace {

QString textOf(const std::optional<QString> &field)
{
    return field.value_or(QString());
}

/// The record's own workplace, else the first of the list that is marked as primary.
QString workplaceOf(const cloud_client::QrnUser &user)
{
    const QString own = textOf(user.workplaceName);
    if (!own.trimmed().isEmpty()) {
        return own;
    }
    for (const cloud_client::QrnUserWorkplace &workplace : user.workplaces) {
        if (workplace.isPrimary) {
            return workplace.name.trimmed();
        }
    }
    return {};
}

GatewayAccountForm formOf(const cloud_client::QrnUser &user)
{
    return {textOf(user.title),
            textOf(user.firstName),
            textOf(user.middleName),
            textOf(user.lastName),
            textOf(user.suffix),
            textOf(user.profession),
            textOf(user.phoneNumber),
            workplaceOf(user)};
}

constexpr QString GatewayAccountForm::*kFields[] = {&GatewayAccountForm::title,
                                                    &GatewayAccountForm::firstName,
                                                    &GatewayAccountForm::middleName,
                                                    &GatewayAccountForm::lastName,
                                                    &GatewayAccountForm::suffix,
                                                    &GatewayAccountForm::profession,
                                                    &GatewayAccountForm::phoneNumber,
                                                    &GatewayAccountForm::workplace};

/// `now` with the fields in which `edited` differs from the record that it was made from.
GatewayAccountForm
withEdits(GatewayAccountForm now, const GatewayAccountForm &edited, const GatewayAccountForm &before)
{
    for (const auto field : kFields) {
        if (edited.*field != before.*field) {
            now.*field = edited.*field;
        }
    }
    return now;
}

std::optional<QString> trimmedOrNone(const QString &text)
{
    const QString trimmed = text.trimmed();
    return trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
}

/// The whole record, with the texts of the form in place of its own.
cloud_client::QrnUpdateUserRequest requestOf(const cloud_client::QrnUser &user,
                                             const GatewayAccountForm &form)
{
    cloud_client::QrnUpdateUserRequest request(user);
    request.title = trimmedOrNone(form.title);
    request.firstName = trimmedOrNone(form.firstName);
    request.middleName = trimmedOrNone(form.middleName);
    request.lastName = trimmedOrNone(form.lastName);
    request.suffix = trimmedOrNone(form.suffix);
    request.profession = trimmedOrNone(form.profession);
    request.phoneNumber = trimmedOrNone(form.phoneNumber);
    request.workplace = trimmedOrNone(form.workplace);
    return request;
}

} // namespace

GatewayAccountSettingsViewModel::GatewayAccountSettingsViewModel(const GatewayAccountSettingsParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewayAccountSettingsViewModel");
}

GatewayAccountSettingsViewModel::~GatewayAccountSettingsViewModel()
{
    close();
}

void GatewayAccountSettingsViewModel::close()
{
    m_scope.close();
}

void GatewayAccountSettingsViewModel::setForm(const GatewayAccountForm &form)
{
    if (m_shown.form != form) {
        m_shown.form = form;
        Q_EMIT changed();
    }
}

void GatewayAccountSettingsViewModel::beginEditing()
{
    m_shown.isEditing = true;
    Q_EMIT changed();
}

void GatewayAccountSettingsViewModel::applyUser(const cloud_client::QrnUser &user)
{
    m_shown.user = user;
    m_shown.form = formOf(user);
    m_shown.email = textOf(user.email);
    m_shown.workplaces = user.workplaces;
}

QCoro::Task<> GatewayAccountSettingsViewModel::load(bool force)
{
    if ((m_shown.isLoading && !force) || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    const quint64 epoch = m_epoch;
    m_shown.isLoading = true;
    m_shown.errorMessage.reset();
    if (force) {
        m_shown.successMessage.reset();
    }
    Q_EMIT changed();

    const Answer answer = co_await fetch();

    if (epoch != m_epoch) {
        co_return;
    }
    if (answer.user) {
        applyUser(*answer.user);
        m_shown.isEditing = false;
    } else {
        m_shown.errorMessage = answer.error;
    }
    m_shown.isLoading = false;
    Q_EMIT changed();
}

QCoro::Task<GatewayAccountSettingsViewModel::Answer> GatewayAccountSettingsViewModel::fetch()
{
    Answer answer;
    try {
        answer.user = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user] { return api->getUser(); });
    } catch (const std::exception &error) {
        answer.error = cloud_client::localizedDescription(error);
    }
    co_return answer;
}

QCoro::Task<> GatewayAccountSettingsViewModel::save()
{
    if (m_shown.isSaving || !m_shown.user || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    const quint64 epoch = m_epoch;
    m_shown.isSaving = true;
    m_shown.errorMessage.reset();
    m_shown.successMessage.reset();
    Q_EMIT changed();

    const GatewayAccountForm edited = m_shown.form;
    const GatewayAccountForm before = formOf(*m_shown.user);
    Answer answer = co_await fetch(); // somebody may have changed it elsewhere meanwhile
    if (epoch != m_epoch) {
        co_return;
    }
    if (answer.user) {
        answer = co_await update(requestOf(*answer.user, withEdits(formOf(*answer.user), edited, before)));
    }

    if (epoch != m_epoch) {
        co_return;
    }
    if (answer.user) {
        applyUser(*answer.user);
        m_shown.isEditing = false;
        m_shown.successMessage = QCoreApplication::translate("Account", "Account updated successfully.");
        Q_EMIT changed();
        co_await m_parts.auth.refresh(false); // the label follows the profile
    } else {
        m_shown.errorMessage = answer.error;
    }
    if (epoch == m_epoch) {
        m_shown.isSaving = false;
        Q_EMIT changed();
    }
}

QCoro::Task<GatewayAccountSettingsViewModel::Answer>
GatewayAccountSettingsViewModel::update(cloud_client::QrnUpdateUserRequest request)
{
    Answer answer;
    try {
        answer.user = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user, request = std::move(request)] {
                return api->updateUser(request);
            });
    } catch (const std::exception &error) {
        answer.error = cloud_client::localizedDescription(error);
    }
    co_return answer;
}

void GatewayAccountSettingsViewModel::reset()
{
    ++m_epoch;
    m_shown = {};
    Q_EMIT changed();
}

void GatewayAccountSettingsViewModel::cancelEditing()
{
    if (m_shown.user) {
        applyUser(cloud_client::QrnUser(*m_shown.user));
        m_shown.errorMessage.reset();
        m_shown.successMessage.reset();
    }
    m_shown.isEditing = false;
    Q_EMIT changed();
}

void GatewayAccountSettingsViewModel::passwordWasChanged()
{
    m_shown.errorMessage.reset();
    m_shown.successMessage = QCoreApplication::translate("Account", "Password updated successfully.");
    Q_EMIT changed();
}

} // namespace gateway::account
