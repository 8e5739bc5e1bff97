#include "dicom_helper/scp/pdus.h"

#include "dicom_helper/implementation.h"
#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/item_types.h"

#include <algorithm>

namespace gateway::dicom_helper::scp {

namespace {

std::string contextBody(const AnsweredContext &answer)
{
    std::string body;
    putBig(body, answer.id, 1);
    putBig(body, 0, 1);
    putBig(body, static_cast<std::uint8_t>(answer.result), 1);
    putBig(body, 0, 1);
    putItem(body, item_type::kTransferSyntax, answer.transferSyntax);
    return body;
}

std::string userInformation()
{
    std::string length;
    putBig(length, kOurMaximumLength, 4);
    std::string body;
    putItem(body, item_type::kMaximumLength, length);
    putItem(body, item_type::kImplementationClass, kImplementationClassUid);
    putItem(body, item_type::kImplementationVersion, kImplementationVersionName);
    return body;
}

} // namespace

std::string encodePdu(PduType type, std::string_view body)
{
    std::string bytes;
    bytes.reserve(kPduHeaderBytes + body.size());
    putBig(bytes, static_cast<std::uint8_t>(type), 1);
    putBig(bytes, 0, 1);
    putBig(bytes, static_cast<std::uint32_t>(body.size()), 4);
    bytes += body;
    return bytes;
}

std::string encodeAccept(const AssociationRequest &request, const Negotiation &negotiation)
{
    std::string body;
    putBig(body, 1, 2);
    putBig(body, 0, 2);
    body += request.titles;
    putItem(body, item_type::kApplicationContext, request.applicationContext);
    for (const AnsweredContext &answer : negotiation.answers()) {
        putItem(body, item_type::kAnsweredContext, contextBody(answer));
    }
    putItem(body, item_type::kUserInformation, userInformation());
    return encodePdu(PduType::associateAccept, body);
}

std::string encodeReject(Rejection rejection)
{
    std::string body;
    putBig(body, 0, 1);
    putBig(body, rejection.result, 1);
    putBig(body, rejection.source, 1);
    putBig(body, rejection.reason, 1);
    return encodePdu(PduType::associateReject, body);
}

std::string encodeAbort(AbortReason reason)
{
    constexpr std::uint8_t kServiceProvider = 2;
    std::string body;
    putBig(body, 0, 2);
    putBig(body, kServiceProvider, 1);
    putBig(body, static_cast<std::uint8_t>(reason), 1);
    return encodePdu(PduType::abort, body);
}

std::string encodeReleaseReply()
{
    return encodePdu(PduType::releaseReply, std::string(4, '\0'));
}

std::string
encodeMessage(std::uint8_t contextId, MessagePart part, std::string_view message, std::uint32_t maximumLength)
{
    constexpr std::uint32_t kPdvHeaderBytes = 6;
    constexpr std::uint32_t kLeastFragmentBytes = 64; // a peer that asks for less can't mean it
    const std::uint8_t kind = part == MessagePart::command ? 1 : 0;
    constexpr std::uint8_t kLastFragment = 2;
    const std::uint32_t whole = maximumLength == 0 ? kOurMaximumLength : maximumLength;
    const std::size_t room = std::max(whole, kPdvHeaderBytes + kLeastFragmentBytes) - kPdvHeaderBytes;
    std::string bytes;
    do {
        const std::string_view fragment = message.substr(0, room);
        message.remove_prefix(fragment.size());
        std::string body;
        putBig(body, static_cast<std::uint32_t>(fragment.size() + 2), 4);
        putBig(body, contextId, 1);
        putBig(body, message.empty() ? kind | kLastFragment : kind, 1);
        body += fragment;
        bytes += encodePdu(PduType::data, body);
    } while (!message.empty());
    return bytes;
}

} // namespace gateway::dicom_helper::scp
