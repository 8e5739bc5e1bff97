#pragma once

#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QStringList>

#include <optional>
#include <vector>

namespace gateway::account::testing {

/// A working service of terms in memory: one user, whose answer it keeps, a line that can be cut, and a door
/// at which calls can be made to wait.
///
/// Thread: any.
class FakeTermsService final : public cloud_client::QrnQuorinCloudTermsAPIProtocol
{
public:
    // Set by the test while no call is under way.
    QString requiredVersion = QStringLiteral("2");
    QString textVersion = QStringLiteral("2");
    QString text = QStringLiteral("Be kind.");
    std::optional<QString> reason;
    std::optional<QString> failure; ///< every call named in `failing` fails with these words
    QStringList failing;
    bool isAccepted = false;

    cloud_client::QrnQuorinCloudTermsStatusResponse status() override
    {
        arrive(QStringLiteral("status"));
        return {!isAccepted, requiredVersion, reason};
    }

    cloud_client::QrnQuorinCloudTermsResponse terms() override
    {
        arrive(QStringLiteral("terms"));
        return {textVersion, text};
    }

    cloud_client::QrnQuorinCloudTermsAcceptResponse
    accept(const cloud_client::QrnQuorinCloudTermsAcceptRequest &request) override
    {
        arrive(QStringLiteral("accept"));
        lastAccept = request;
        isAccepted = true;
        return {request.version};
    }

    void decline(const cloud_client::QrnQuorinCloudTermsDeclineRequest &request) override
    {
        arrive(QStringLiteral("decline"));
        lastDecline = request;
    }

    /// Makes calls of `name` wait from now on.
    void hold(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_held = name;
    }

    /// Lets waiting calls go on.
    void release()
    {
        hold({});
        m_changed.notifyAll();
    }

    /// The names of all calls so far.
    QStringList calls() const
    {
        const platform::MutexLock lock(m_mutex);
        return {m_calls.begin(), m_calls.end()};
    }

    std::optional<cloud_client::QrnQuorinCloudTermsAcceptRequest> lastAccept;
    std::optional<cloud_client::QrnQuorinCloudTermsDeclineRequest> lastDecline;

private:
    void arrive(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_calls.push_back(name);
        while (m_held == name) {
            m_changed.wait(m_mutex);
        }
        if (failing.contains(name)) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::serviceFault, failure);
        }
    }

    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    QString m_held QUORIN_GUARDED_BY(m_mutex);
    std::vector<QString> m_calls QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::account::testing
