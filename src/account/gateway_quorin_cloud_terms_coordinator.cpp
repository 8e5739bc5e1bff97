#include "account/gateway_quorin_cloud_terms_coordinator.h"

#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSysInfo>

#include <utility>

namespace gateway::account {

namespace {

/// The line above the text; a first acceptance needs none.
std::optional<QString> reasonLine(const std::optional<QString> &reason)
{
    const QString text = reason.value_or(QString()).trimmed();
    if (text.isEmpty() || text == QStringLiteral("First-time acceptance required")) {
        return std::nullopt;
    }
    if (text == QStringLiteral("T&Cs updated")) {
        return QCoreApplication::translate(
            "Account", "The Terms & Conditions were updated. Please accept the updated version to continue.");
    }
    return text;
}

} // namespace

TermsSigner TermsSigner::from(const QString &hostName,
                              const QString &osVersion,
                              const std::optional<QString> &clientVersion)
{
    const QString version = clientVersion.value_or(QString()).trimmed();
    return {hostName.isEmpty() ? QStringLiteral("Mac") : hostName,
            osVersion,
            version.isEmpty() ? QStringLiteral("1.0.0") : version};
}

TermsSigner TermsSigner::here(const std::optional<QString> &clientVersion)
{
    return from(QSysInfo::machineHostName(), QSysInfo::prettyProductName(), clientVersion);
}

GatewayQuorinCloudTermsCoordinator::GatewayQuorinCloudTermsCoordinator(
    const GatewayQuorinCloudTermsParts &parts, TermsSigner signer)
    : m_parts(parts), m_signer(std::move(signer)), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewayQuorinCloudTermsCoordinator");
}

GatewayQuorinCloudTermsCoordinator::~GatewayQuorinCloudTermsCoordinator()
{
    close();
}

void GatewayQuorinCloudTermsCoordinator::close()
{
    m_scope.close();
}

bool GatewayQuorinCloudTermsCoordinator::mayStart() const
{
    return !m_shown.isLoading && !m_scope.stopToken().stop_requested();
}

void GatewayQuorinCloudTermsCoordinator::begin()
{
    m_shown.isLoading = true;
    m_shown.errorMessage.reset();
    Q_EMIT changed();
}

void GatewayQuorinCloudTermsCoordinator::end()
{
    m_shown.isLoading = false;
    Q_EMIT changed();
}

QCoro::Task<> GatewayQuorinCloudTermsCoordinator::refreshStatus()
{
    if (!mayStart()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    begin();
    const quint64 epoch = m_epoch;
    co_await check(epoch);
    if (epoch == m_epoch) {
        end();
    }
}

QCoro::Task<> GatewayQuorinCloudTermsCoordinator::check(quint64 epoch)
{
    try {
        const cloud_client::QrnQuorinCloudTermsStatusResponse status = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.api] { return api->status(); });
        if (epoch != m_epoch) {
            co_return;
        }
        if (!status.required) {
            m_shown.showTerms = false;
            m_shown.reasonMessage.reset();
            co_return;
        }
        const cloud_client::QrnQuorinCloudTermsResponse terms = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.api] { return api->terms(); });
        if (epoch == m_epoch) {
            present(status, terms);
        }
    } catch (const std::exception &error) {
        if (epoch == m_epoch) {
            failCheck(error);
        }
    }
}

void GatewayQuorinCloudTermsCoordinator::failCheck(const std::exception &error)
{
    m_shown.showTerms = false;
    m_shown.errorMessage = cloud_client::userFacingMessage(
        error, QCoreApplication::translate("Account", "Unable to check Quorin Cloud Terms & Conditions."));
}

void GatewayQuorinCloudTermsCoordinator::present(
    const cloud_client::QrnQuorinCloudTermsStatusResponse &status,
    const cloud_client::QrnQuorinCloudTermsResponse &terms)
{
    m_shown.termsText = terms.text;
    m_shown.termsVersion = status.requiredVersion.isEmpty() ? terms.version : status.requiredVersion;
    m_shown.reasonMessage = reasonLine(status.reason);
    m_shown.showTerms = true;
}

QCoro::Task<bool> GatewayQuorinCloudTermsCoordinator::accept()
{
    if (!mayStart() || !hasVersion()) {
        co_return false;
    }
    const auto operation = m_scope.enter();
    begin();
    const cloud_client::QrnQuorinCloudTermsAcceptRequest request{m_shown.termsVersion,
                                                                 m_parts.clock.now(),
                                                                 core::deviceId(m_parts.defaults),
                                                                 m_signer.deviceName,
                                                                 m_signer.osVersion,
                                                                 m_signer.quorinVersion};
    const bool isTaken = co_await answer(
        [api = &m_parts.api, request] { api->accept(request); },
        QCoreApplication::translate("Account", "Failed to accept Quorin Cloud Terms & Conditions."));
    co_return isTaken;
}

QCoro::Task<bool> GatewayQuorinCloudTermsCoordinator::decline()
{
    if (!mayStart() || !hasVersion()) {
        co_return false;
    }
    const auto operation = m_scope.enter();
    begin();
    const cloud_client::QrnQuorinCloudTermsDeclineRequest request{m_shown.termsVersion, m_parts.clock.now()};
    const bool isTaken = co_await answer(
        [api = &m_parts.api, request] { api->decline(request); },
        QCoreApplication::translate("Account", "Failed to decline Quorin Cloud Terms & Conditions."));
    co_return isTaken;
}

bool GatewayQuorinCloudTermsCoordinator::hasVersion()
{
    if (!m_shown.termsVersion.trimmed().isEmpty()) {
        return true;
    }
    m_shown.errorMessage = QCoreApplication::translate(
        "Account", "Could not determine the Terms & Conditions version. Please reload and try again.");
    Q_EMIT changed();
    return false;
}

QCoro::Task<bool> GatewayQuorinCloudTermsCoordinator::answer(std::function<void()> send, QString fallback)
{
    const quint64 epoch = m_epoch;
    std::optional<QString> error;
    try {
        co_await platform::onPool(m_parts.main, m_parts.pool, std::move(send));
    } catch (const std::exception &failure) {
        error = cloud_client::userFacingMessage(failure, fallback);
    }
    if (epoch == m_epoch) {
        m_shown.showTerms = m_shown.showTerms && error.has_value();
        m_shown.errorMessage = error;
        end();
    }
    co_return !error.has_value();
}

void GatewayQuorinCloudTermsCoordinator::reset()
{
    ++m_epoch;
    m_shown = {};
    Q_EMIT changed();
}

} // namespace gateway::account
