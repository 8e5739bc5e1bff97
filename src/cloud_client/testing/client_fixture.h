#pragma once

#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/testing/memory_token_store.h"
#include "cloud_client/testing/scripted_http_server.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <optional>
#include <utility>

namespace gateway::cloud_client::testing {

/// A clock that stands still, for whoever needs one and no time.
inline platform::Clock &stillClock()
{
    static platform::testing::ManualClock clock;
    return clock;
}

/// A configuration for a service at `url`.
inline CloudConfiguration configurationFor(const QUrl &url, CloudKind kind = CloudKind::quorin)
{
    CloudConfiguration configuration;
    configuration.baseUrl = url;
    configuration.kind = kind;
    return configuration;
}

/// A scripted service and a client that talks to it.
struct ScriptedService
{
    explicit ScriptedService(ScriptedHttpServer::Handler handler, CloudKind kind = CloudKind::quorin)
        : server(std::move(handler)), client(configurationFor(server.url(), kind), store, clock)
    {
        client.networkSettings().waitUntilStored();
    }

    platform::testing::ManualClock clock;
    MemoryTokenStore store;
    ScriptedHttpServer server;
    QuorinApiClient client;
};

/// The error of type `Error` that `call` throws; nothing when it throws none.
template <typename Error, typename Call>
std::optional<Error> errorOf(Call call)
{
    try {
        call();
    } catch (const Error &error) {
        return error;
    }
    return std::nullopt;
}

} // namespace gateway::cloud_client::testing
