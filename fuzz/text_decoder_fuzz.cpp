#include "dicom_helper/worker/text_decoder.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// What must come out whatever goes in.
bool isUtf8(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i++]);
        const unsigned more = byte < 0x80 ? 0 : byte < 0xC0 ? 9 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
        for (unsigned k = 0; k < more; ++k) {
            if (i == text.size() || (static_cast<unsigned char>(text[i++]) & 0xC0U) != 0x80U) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

/// The first line is the character set, the rest the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view all(reinterpret_cast<const char *>(data), size);
    const std::size_t line = all.find('\n');
    if (line == std::string_view::npos) {
        return 0;
    }
    const gateway::dicom_helper::worker::TextDecoder decoder(all.substr(0, line));
    if (!isUtf8(decoder.decode(all.substr(line + 1)))) {
        std::abort();
    }
    return 0;
}
