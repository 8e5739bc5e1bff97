#include "dicom_helper/scp/protocol_error.h"
#include "dicom_helper/sender/association_accept.h"

#include <cstdlib>

using namespace gateway::dicom_helper;

/// Reads an answer from a stranger; ids are bytes, so there are no more of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        if (sender::parseAssociationAccept({reinterpret_cast<const char *>(data), size}).results.size() >
            256) {
            std::abort();
        }
    } catch (const scp::ProtocolError &) {
        return 0;
    }
    return 0;
}
