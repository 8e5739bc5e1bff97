#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "app/ground.h"
#include "platform/keychain/token_store.h"
#include "platform/quorin_api/qrn_authentication_api.h"
#include "platform/quorin_api/qrn_bug_report_api.h"
#include "platform/quorin_api/qrn_quorin_cloud_terms_api.h"
#include "platform/quorin_api/qrn_status_api.h"
#include "platform/quorin_api/qrn_stow_api.h"
#include "platform/quorin_api/qrn_user_api.h"
#include "platform/quorin_api/quorin_api_client.h"

#include <memory>

namespace gateway::app {

/// The cloud that the command line, the environment or the settings name, in this order.
platform::CloudConfiguration cloudConfiguration(Ground &ground);

/// The cloud's client, and what is known of account and cloud.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct CloudAccount
{
    Ground &ground;

    std::unique_ptr<platform::TokenStore> tokens =
        platform::makeTokenStore(ground.options.layout.tokenFolder());
    platform::QuorinApiClient client{cloudConfiguration(ground), *tokens};
    platform::QrnAuthenticationAPI authenticationApi{client};
    platform::QrnUserAPI userApi{client};
    platform::QrnStatusAPI statusApi{client};
    platform::QrnStowAPI stowApi{client};
    platform::QrnQuorinCloudTermsAPI termsApi{client};
    platform::QrnBugReportAPI bugReportApi{client};

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
