#include "account/quorin_cloud_status_view_model.h"

#include "account/poll.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <utility>

namespace gateway::account {

QuorinCloudStatusViewModel::QuorinCloudStatusViewModel(const QuorinCloudStatusParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("QuorinCloudStatusViewModel");
}

QuorinCloudStatusViewModel::~QuorinCloudStatusViewModel()
{
    close();
}

void QuorinCloudStatusViewModel::close()
{
    m_scope.close();
}

QString QuorinCloudStatusViewModel::statusText() const
{
    if (m_isChecking) {
        return QStringLiteral("Checking Quorin Cloud…");
    }
    return m_isOnline ? QStringLiteral("Connected to Quorin Cloud")
                      : QStringLiteral("Quorin Cloud Unreachable");
}

std::optional<QString> QuorinCloudStatusViewModel::detailText(const QLocale &locale) const
{
    if (m_isOnline && m_lastCheckedAt) {
        return QStringLiteral("Last checked ") +
               locale.toString(m_lastCheckedAt->toLocalTime(), QStringLiteral("d MMM, h:mm AP"));
    }
    return m_lastError;
}

void QuorinCloudStatusViewModel::startPolling(std::chrono::seconds interval)
{
    if (!std::exchange(m_isPolling, true)) {
        m_scope.start(
            poll(m_parts.main, m_parts.clock, interval, [this] { return refresh(); }, m_scope.stopToken()));
    }
}

QCoro::Task<> QuorinCloudStatusViewModel::refresh()
{
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    m_isChecking = true;
    Q_EMIT changed();
    std::optional<QString> error;
    try {
        co_await platform::onPool(m_parts.main, m_parts.pool, [api = &m_parts.status] { api->ping(); });
    } catch (const std::exception &failure) {
        error = cloud_client::plainText(failure);
    }
    m_isOnline = !error;
    m_lastError = std::move(error);
    m_lastCheckedAt = m_parts.clock.now();
    m_isChecking = false;
    Q_EMIT changed();
}

} // namespace gateway::account
