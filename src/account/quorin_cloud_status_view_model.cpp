#include "account/quorin_cloud_status_view_model.h"

#include "account/poll.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>

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
        return QCoreApplication::translate("Account", "Checking Quorin Cloud…");
    }
    return m_isOnline ? QCoreApplication::translate("Account", "Connected to Quorin Cloud")
                      : QCoreApplication::translate("Account", "Quorin Cloud Unreachable");
}

std::optional<QString> QuorinCloudStatusViewModel::detailText(const QLocale &locale) const
{
    if (m_isOnline && m_lastCheckedAt) {
        //: A date and a time as QDateTime writes them; other languages may count 24 hours.
        const QString format = QCoreApplication::translate("Account", "d MMM, h:mm AP");
        return QCoreApplication::translate("Account", "Last checked %1")
            .arg(locale.toString(m_lastCheckedAt->toLocalTime(), format));
    }
    return m_lastFailure;
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
    std::optional<QString> words;
    try {
        co_await platform::onPool(m_parts.main, m_parts.pool, [api = &m_parts.status] { api->ping(); });
    } catch (const std::exception &failure) {
        error = cloud_client::plainText(failure);
        words = cloud_client::localizedDescription(failure);
    }
    m_isOnline = !error;
    m_lastError = std::move(error);
    m_lastFailure = std::move(words);
    m_lastCheckedAt = m_parts.clock.now();
    m_isChecking = false;
    Q_EMIT changed();
}

} // namespace gateway::account
