#include "account/quorin_cloud_storage_limit_view_model.h"

#include "account/poll.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <utility>

namespace gateway::account {

QuorinCloudStorageLimitViewModel::QuorinCloudStorageLimitViewModel(const QuorinCloudStorageLimitParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("QuorinCloudStorageLimitViewModel");
}

QuorinCloudStorageLimitViewModel::~QuorinCloudStorageLimitViewModel()
{
    close();
}

void QuorinCloudStorageLimitViewModel::close()
{
    m_scope.close();
}

void QuorinCloudStorageLimitViewModel::startPolling(std::chrono::seconds interval)
{
    if (!std::exchange(m_isPolling, true)) {
        m_scope.start(
            poll(m_parts.main, m_parts.clock, interval, [this] { return refresh(); }, m_scope.stopToken()));
    }
}

QCoro::Task<> QuorinCloudStorageLimitViewModel::refresh()
{
    if (m_isLoading || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    bool isSettled = false;
    while (!isSettled) {
        isSettled = co_await readOnce();
    }
    m_isLoading = false;
    Q_EMIT changed();
}

/// One reading with the session as it stands; false when the session became another one meanwhile.
QCoro::Task<bool> QuorinCloudStorageLimitViewModel::readOnce()
{
    const std::optional<QString> token = m_parts.networkSettings.token();
    if (m_figuresOf != token) {
        m_storageUsage.reset();
        m_figuresOf = token;
    }
    if (!token) {
        m_lastError.reset();
        co_return true;
    }
    m_isLoading = true;
    Q_EMIT changed();
    std::optional<StorageUsage> usage;
    std::optional<QString> error;
    try {
        const cloud_client::QrnCloudLimitResponse limit = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user] { return api->quorinCloudStorageLimit(); });
        usage = {static_cast<double>(limit.allowanceKb), static_cast<double>(limit.usedKb)};
    } catch (const std::exception &failure) {
        error = cloud_client::localizedDescription(failure);
    }
    if (m_scope.stopToken().stop_requested()) {
        co_return true;
    }
    if (m_parts.networkSettings.token() != token) {
        co_return false;
    }
    if (usage) {
        m_storageUsage = usage;
    }
    m_lastError = std::move(error);
    co_return true;
}

} // namespace gateway::account
