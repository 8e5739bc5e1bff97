#include "dicom_helper/sender/association_accept.h"

#include "dicom_helper/scp/bytes.h"

namespace gateway::dicom_helper::sender {

using scp::ByteReader;
using scp::Item;

namespace {

// Types of items and sub-items (PS3.8 9.3.3, D.1).
constexpr std::uint8_t kAnsweredContext = 0x21;
constexpr std::uint8_t kUserInformation = 0x50;
constexpr std::uint8_t kMaximumLength = 0x51;

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
        if (item.type == kAnsweredContext) {
            const std::uint8_t id = inner.byte();
            inner.byte();
            accept.results[id] = inner.byte();
        } else if (item.type == kUserInformation) {
            while (!inner.atEnd()) {
                const Item more = scp::takeItem(inner);
                if (more.type == kMaximumLength) {
                    accept.maximumLength = ByteReader(more.body).bigLong();
                }
            }
        }
    }
    return accept;
}

} // namespace gateway::dicom_helper::sender
