#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "app/ground.h"
#include "cloud_client/device_grant.h"
#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/qrn_qido_api.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/quorin_api_client.h"
#include "core/device_id.h"
#include "platform/keychain/token_store.h"

#include <memory>

namespace gateway::app {

/// The cloud that the command line, the environment or the settings name, in this order.
///
/// \param deviceId  empty where nothing is to be sent.
cloud_client::CloudConfiguration cloudConfiguration(const GatewayOptions &options,
                                                    const platform::UserDefaults &defaults,
                                                    const QString &deviceId);

/// The cloud's client, and what is known of account and cloud.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct CloudAccount
{
    Ground &ground;

    std::unique_ptr<platform::TokenStore> tokens =
        platform::makeTokenStore(ground.options.layout.tokenFolder());
    cloud_client::QuorinApiClient client{
        cloudConfiguration(ground.options, ground.defaults, core::deviceId(ground.defaults)),
        *tokens,
        ground.clock,
        &ground.defaults};
    cloud_client::QrnAuthenticationAPI authenticationApi{client};
    cloud_client::DeviceGrantAPI deviceGrants{client};
    cloud_client::QrnUserAPI userApi{client};
    cloud_client::QrnStatusAPI statusApi{client};
    cloud_client::QrnStowAPI stowApi{client};
    cloud_client::QrnQuorinCloudTermsAPI termsApi{client};
    cloud_client::QrnBugReportAPI bugReportApi{client};
    cloud_client::QrnVersionsAPI versionsApi{client};
    cloud_client::QrnQidoAPI queryApi{client};
    cloud_client::QrnDeleteAPI deleteApi{client};

    account::QuorinAuthViewModel auth{{.authentication = authenticationApi,
                                       .user = userApi,
                                       .networkSettings = client.networkSettings(),
                                       .defaults = ground.defaults,
                                       .notifications = ground.notifications,
                                       .main = ground.main,
                                       .pool = ground.networkPool,
                                       .clock = ground.clock},
                                      QStringLiteral(QUORIN_VERSION)};
    account::CloudWatch watch{{.status = statusApi,
                               .user = userApi,
                               .terms = termsApi,
                               .networkSettings = client.networkSettings(),
                               .defaults = ground.defaults,
                               .notifications = ground.notifications,
                               .main = ground.main,
                               .pool = ground.networkPool,
                               .clock = ground.clock,
                               .auth = auth}};
};

} // namespace gateway::app
