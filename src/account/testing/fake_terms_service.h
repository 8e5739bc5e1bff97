#pragma once

#include "account/testing/held_calls.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QStringList>

#include <optional>

namespace gateway::account::testing {

/// A working service of terms in memory: one user, whose answer it keeps, a line that can be cut, and a door
/// at which calls can be made to wait.
///
/// Thread: any.
class FakeTermsService final : public cloud_client::QrnQuorinCloudTermsAPIProtocol, public HeldCalls
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

    std::optional<cloud_client::QrnQuorinCloudTermsAcceptRequest> lastAccept;
    std::optional<cloud_client::QrnQuorinCloudTermsDeclineRequest> lastDecline;

private:
    void arrive(const QString &name)
    {
        pass(name);
        if (failing.contains(name)) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::serviceFault, failure);
        }
    }
};

} // namespace gateway::account::testing
