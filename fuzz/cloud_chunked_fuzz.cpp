#include "cloud/http/chunked_decoder.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

std::string decode(std::string_view body, std::size_t pieceSize)
{
    std::string content;
    gateway::cloud::ChunkedDecoder decoder;
    try {
        std::size_t taken = 0;
        while (taken < body.size() && !decoder.done()) {
            taken += decoder.feed(body.substr(taken, pieceSize), [&content](std::string_view bytes) {
                content += bytes;
                return true;
            });
        }
        content += decoder.done() ? "|" + std::to_string(taken) : "|unfinished";
    } catch (const gateway::cloud::ChunkedError &) {
        content += "|broken";
    }
    return content;
}

} // namespace

/// However a body is cut into pieces, its content and its end must be the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view body(reinterpret_cast<const char *>(data) + 1, size - 1);
    if (decode(body, size) != decode(body, std::size_t{data[0]} % 16 + 1)) {
        std::abort();
    }
    return 0;
}
