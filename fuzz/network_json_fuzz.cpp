#include "cloud_client/network_json.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as an answer of the network.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    static_cast<void>(gateway::cloud_client::parseNetworkJson(text));
    return 0;
}
