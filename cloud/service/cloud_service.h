#pragma once

#include "cloud/http/http_server.h"
#include "cloud/service/account_routes.h"
#include "cloud/service/control_routes.h"
#include "cloud/service/dicomweb_routes.h"
#include "cloud/service/fault_plan.h"
#include "cloud/service/request_counts.h"
#include "cloud/store/accounts.h"
#include "cloud/store/instance_store.h"
#include "cloud/store/service_settings.h"

#include <functional>
#include <optional>

namespace gateway::cloud {

/// The whole service over one data folder.
///
/// Owner: main. Thread: any.
class CloudService
{
public:
    struct Options
    {
        QString dataFolder;
        bool control = false; ///< offer `/control`
        bool durable = true;  ///< false gives up on surviving a power cut
    };

    /// \param connections  asks the server for its counts.
    /// \throws std::system_error, platform::SqliteError
    CloudService(const Options &options,
                 const platform::Clock &clock,
                 std::function<ConnectionCounts()> connections);

    Accounts &accounts() { return m_accounts; }

    /// Answers a request. \throws HttpProblem
    void handle(Exchange &exchange);

private:
    bool answerByFault(Exchange &exchange);

    InstanceStore m_store; // first: makes the data folder
    Accounts m_accounts;
    ServiceSettings m_settings;
    FaultPlan m_faults;
    RequestCounts m_counts;
    AccountRoutes m_accountRoutes;
    DicomwebRoutes m_dicomwebRoutes;
    std::optional<ControlRoutes> m_controlRoutes;
};

} // namespace gateway::cloud
