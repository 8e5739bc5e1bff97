#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::cloud_client {
class NetworkSettings;
class QrnUserAPIProtocol;
} // namespace gateway::cloud_client

namespace gateway::platform {
class Clock;
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// How much of the account's room in the cloud is used, in kilobytes. Thread: a value, any.
struct StorageUsage
{
    double allowanceInKb = 0.0;
    double usedInKb = 0.0;

    bool operator==(const StorageUsage &) const = default;
};

/// What the storage model works with; all outlive it.
struct QuorinCloudStorageLimitParts
{
    cloud_client::QrnUserAPIProtocol &user;
    cloud_client::NetworkSettings &networkSettings;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// The account's storage figures, by the last reading that succeeded in this session.
///
/// Figures belong to the session that they were asked for with: those that arrive when another session stands
/// are dropped, and asked for anew.
///
/// Owner: whoever shows it. Thread: main.
class QuorinCloudStorageLimitViewModel : public QObject
{
    Q_OBJECT

public:
    explicit QuorinCloudStorageLimitViewModel(const QuorinCloudStorageLimitParts &parts);
    ~QuorinCloudStorageLimitViewModel() override;

    /// The last figures. They stay when a later reading fails, and go when nobody is signed in.
    const std::optional<StorageUsage> &storageUsage() const { return m_storageUsage; }

    /// A reading is in flight.
    bool isLoading() const { return m_isLoading; }

    /// Why the last reading failed.
    const std::optional<QString> &lastError() const { return m_lastError; }

    /// Reads now and then after each `interval`, until the model closes. A second call changes nothing.
    void startPolling(std::chrono::seconds interval);

    /// Reads the figures, unless a reading is in flight. Without a session nobody is asked.
    QCoro::Task<> refresh();

    /// Ends the poll, refuses new readings, and returns when none is in flight.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    QCoro::Task<bool> readOnce();

    const QuorinCloudStorageLimitParts m_parts;
    std::optional<StorageUsage> m_storageUsage;
    std::optional<QString> m_figuresOf; // the token of the session that the figures belong to
    bool m_isLoading = false;
    bool m_isPolling = false;
    std::optional<QString> m_lastError;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
