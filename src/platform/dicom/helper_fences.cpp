#include "platform/dicom/helper_fences.h"

#include "platform/dicom/helper_process.h"

#include <chrono>
#include <system_error>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;

std::optional<HelperFences> askForFences(const QString &helperProgram)
{
    constexpr std::chrono::seconds kAnswerTimeout(10);
    try {
        HelperProcess process(helperProgram, QStringLiteral("fences"));
        Record record;
        if (process.channel().receive(record, kAnswerTimeout) != Channel::Receipt::record ||
            record.word != "fences") {
            return std::nullopt;
        }
        return HelperFences{record.number("files", 0) != 0, record.number("calls", 0) != 0};
    } catch (const std::system_error &) {
        return std::nullopt;
    }
}

} // namespace gateway::platform
