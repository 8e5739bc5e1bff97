#include "terminal/commands/command_requests.h"
#include "terminal/control/control_protocol.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Requests come from any program of the same user: none may do more than be refused, and what is taken for a
/// request must come back unchanged from its own encoding.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace gateway::terminal;
    const QByteArray line(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (const auto request = decodeRequest(line)) {
        (void)setupCommandIn(*request);
        const auto again = decodeRequest(encode(*request).chopped(1));
        const bool tooLongNow = encode(*request).size() - 1 > kMaxControlLine;
        if (!tooLongNow &&
            (!again || again->command != request->command || again->arguments != request->arguments)) {
            std::abort();
        }
    }
    (void)decodeReply(line);
    return 0;
}
