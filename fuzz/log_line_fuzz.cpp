#include "log/writing/log_line.h"

#include <cstdint>
#include <cstdlib>

/// A line that decodes must survive being written and read again; any other must be refused quietly.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    gateway::log::LogLineDecoder decoder;
    const auto event = decoder.decode(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (event && decoder.decode(gateway::log::encodeLogLine(*event)) != event) {
        std::abort();
    }
    return 0;
}
