#include "dicom_helper/sender/association_accept.h"

#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/item_types.h"

namespace gateway::dicom_helper::sender {

using scp::ByteReader;
using scp::Item;
namespace item_type = scp::item_type;

namespace {

constexpr std::size_t kTitlesAndReservedBytes = 64;

} // namespace

AssociationAccept parseAssociationAccept(std::string_view body)
{
    ByteReader reader(body);
    reader.bigShort();
    reader.take(2 + kTitlesAndReservedBytes);
    AssociationAccept accept;
    while (!reader.atEnd()) {
        const Item item = scp::takeItem(reader);
        ByteReader inner(item.body);
        if (item.type == item_type::kAnsweredContext) {
            const std::uint8_t id = inner.byte();
            inner.byte();
            accept.results[id] = inner.byte();
        } else if (item.type == item_type::kUserInformation) {
            while (!inner.atEnd()) {
                const Item more = scp::takeItem(inner);
                if (more.type == item_type::kMaximumLength) {
                    accept.maximumLength = ByteReader(more.body).bigLong();
                }
            }
        }
    }
    return accept;
}

} // namespace gateway::dicom_helper::sender
