#include "dicom_helper/scp/association_request.h"
#include "dicom_helper/scp/negotiation.h"
#include "dicom_helper/scp/pdus.h"
#include "dicom_helper/scp/protocol_error.h"

#include <cstdlib>

using namespace gateway::dicom_helper::scp;

/// Reads a request from a stranger and answers it; an answer has an entry for each proposed context.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        const AssociationRequest request =
            parseAssociationRequest({reinterpret_cast<const char *>(data), size});
        const Negotiation negotiation(request);
        if (negotiation.answers().size() != request.contexts.size() ||
            encodeAccept(request, negotiation).size() <= kPduHeaderBytes) {
            std::abort();
        }
    } catch (const ProtocolError &) {
        return 0;
    }
    return 0;
}
