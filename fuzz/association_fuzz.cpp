#include "dicom_helper/scp/association.h"
#include "dicom_helper/scp/protocol_error.h"
#include "dicom_helper/scp/space_claims.h"
#include "dicom_helper/scp/testing/memory_disk.h"

#include <algorithm>
#include <cstdlib>

using namespace gateway::dicom_helper::scp;

namespace {

/// A peer that takes every answer; checks that what is called stored is.
class Outlet : public AssociationOutlet
{
public:
    explicit Outlet(testing::MemoryDisk &disk) : m_disk(disk) {}

    bool send(std::string_view) override { return true; }

    void onStored(const std::string &finalName) override
    {
        if (!m_disk.durableInbox().contains(finalName)) {
            std::abort();
        }
    }

private:
    testing::MemoryDisk &m_disk;
};

AssociationRequest oneContext()
{
    AssociationRequest request;
    request.contexts.push_back({1, "1.2.840.10008.5.1.4.1.1.2", {"1.2.840.10008.1.2.1"}});
    return request;
}

} // namespace

/// Feeds an open association with a stranger's bytes, in pieces whose size is the first of them. Nothing
/// unfinished stays behind, and an object is durable before it counts as stored.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::size_t piece = std::max<std::size_t>(data[0], 1);
    std::string_view bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    const AssociationRequest request = oneContext();
    SpaceClaims claims(0);
    testing::MemoryDisk disk;
    Outlet outlet(disk);
    try {
        Association association(request, disk, outlet, "quorin-fuzz-", SpaceClaim(claims, 0));
        while (!bytes.empty() && association.state() == Association::State::open) {
            association.take(bytes.substr(0, piece));
            bytes.remove_prefix(std::min(piece, bytes.size()));
        }
    } catch (const ProtocolError &) {
        // What counts is that nothing stays behind, below.
    }
    if (disk.hasUnfinished()) {
        std::abort();
    }
    return 0;
}
