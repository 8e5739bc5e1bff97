#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::cloud_client {
class QrnStatusAPIProtocol;
}

namespace gateway::platform {
class Clock;
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// What the status model works with; all outlive it.
struct QuorinCloudStatusParts
{
    cloud_client::QrnStatusAPIProtocol &status;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// Whether the cloud answers, by the last ping.
///
/// Owner: whoever shows it. Thread: main.
class QuorinCloudStatusViewModel : public QObject
{
    Q_OBJECT

public:
    explicit QuorinCloudStatusViewModel(const QuorinCloudStatusParts &parts);
    ~QuorinCloudStatusViewModel() override;

    /// The last ping succeeded; false before the first.
    bool isOnline() const { return m_isOnline; }

    /// A ping is in flight.
    bool isChecking() const { return m_isChecking; }

    /// The end of the last ping, good or bad, in UTC.
    const std::optional<QDateTime> &lastCheckedAt() const { return m_lastCheckedAt; }

    /// The last failure as a plain text; nothing when the last ping succeeded.
    const std::optional<QString> &lastError() const { return m_lastError; }

    /// The state in words. While a ping runs they say so, on a good connection too.
    QString statusText() const;

    /// When the cloud was reached last, or why it wasn't, in words for people; nothing before the first ping.
    std::optional<QString> detailText(const QLocale &locale = QLocale::system()) const;

    /// Pings now and then after each `interval`, until the model closes. A second call changes nothing.
    void startPolling(std::chrono::seconds interval);

    /// Pings, unless a ping is in flight: then it returns at once.
    QCoro::Task<> refresh();

    /// Ends the poll, refuses new pings, and returns when none is in flight.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    const QuorinCloudStatusParts m_parts;
    bool m_isOnline = false;
    bool m_isChecking = false;
    bool m_isPolling = false;
    std::optional<QDateTime> m_lastCheckedAt;
    std::optional<QString> m_lastError;
    std::optional<QString> m_lastFailure; // the same for people
    platform::TaskScope m_scope;          // last: drained before the fields go
};

} // namespace gateway::account
