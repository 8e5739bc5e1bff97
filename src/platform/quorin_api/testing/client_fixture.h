#pragma once

#include "platform/quorin_api/quorin_api_client.h"
#include "platform/quorin_api/quorin_error.h"
#include "platform/quorin_api/testing/memory_token_store.h"
#include "platform/quorin_api/testing/scripted_http_server.h"

#include <optional>
#include <utility>

namespace gateway::platform::testing {

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
        : server(std::move(handler)), client(configurationFor(server.url(), kind), store)
    {
        client.networkSettings().waitUntilStored();
    }

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

} // namespace gateway::platform::testing
