#include "dicom_helper/scp/association_request.h"

#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/item_types.h"

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::size_t kTitleBytes = 16;
constexpr std::size_t kReservedBytes = 32;

/// Some peers pad UIDs here with a NUL or a blank, as they do in datasets.
std::string withoutPadding(std::string_view text)
{
    while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    return std::string(text);
}

ProposedContext parseContext(std::string_view body)
{
    ByteReader reader(body);
    ProposedContext context;
    context.id = reader.byte();
    reader.take(3);
    while (!reader.atEnd()) {
        const Item item = takeItem(reader);
        if (item.type == item_type::kAbstractSyntax) {
            context.abstractSyntax = withoutPadding(item.body);
        } else if (item.type == item_type::kTransferSyntax) {
            context.transferSyntaxes.push_back(withoutPadding(item.body));
        }
    }
    return context;
}

void parseUserInformation(std::string_view body, AssociationRequest &request)
{
    ByteReader reader(body);
    while (!reader.atEnd()) {
        const Item item = takeItem(reader);
        if (item.type == item_type::kMaximumLength) {
            request.maximumLength = ByteReader(item.body).bigLong();
        }
    }
}

} // namespace

AssociationRequest parseAssociationRequest(std::string_view body)
{
    ByteReader reader(body);
    AssociationRequest request;
    request.protocolVersion = reader.bigShort();
    reader.take(2);
    request.titles = std::string(reader.take(2 * kTitleBytes + kReservedBytes));
    request.callingTitle = withoutPadding(std::string_view(request.titles).substr(kTitleBytes, kTitleBytes));
    while (!reader.atEnd()) {
        const Item item = takeItem(reader);
        if (item.type == item_type::kApplicationContext) {
            request.applicationContext = std::string(item.body);
        } else if (item.type == item_type::kPresentationContext) {
            request.contexts.push_back(parseContext(item.body));
        } else if (item.type == item_type::kUserInformation) {
            parseUserInformation(item.body, request);
        }
    }
    return request;
}

} // namespace gateway::dicom_helper::scp
