#include "cloud/http/multipart_parser.h"
#include "cloud/http/text.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// Writes down all that it is told, so that two runs can be compared.
class Transcript final : public gateway::cloud::MultipartSink
{
public:
    void partBegan(const gateway::cloud::PartHeaders &headers) override
    {
        for (const auto &[name, value] : headers) {
            text += name + '=' + value + ';';
        }
        text += '{';
    }

    void partData(std::string_view bytes) override { text += bytes; }

    void partEnded() override { text += '}'; }

    std::string text;
};

std::string parse(std::string_view body, std::size_t pieceSize)
{
    Transcript transcript;
    try {
        gateway::cloud::MultipartParser parser("b", transcript);
        for (std::size_t at = 0; at < body.size(); at += pieceSize) {
            parser.feed(body.substr(at, pieceSize));
        }
        parser.finish();
    } catch (const gateway::cloud::MultipartError &) {
        transcript.text += "broken";
    }
    return transcript.text;
}

} // namespace

/// However a body is cut into pieces, the parts that come out must be the same ones.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view body(reinterpret_cast<const char *>(data) + 1, size - 1);
    if (parse(body, size) != parse(body, std::size_t{data[0]} % 32 + 1)) {
        std::abort();
    }
    gateway::cloud::parseMediaType(body);
    return 0;
}
