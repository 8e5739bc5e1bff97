#include "dicom_helper/scp/association.h"

#include "dicom_helper/file_header.h"
#include "dicom_helper/scp/pdus.h"
#include "dicom_helper/scp/protocol_error.h"

#include <system_error>
#include <utility>

namespace gateway::dicom_helper::scp {

namespace {

// Bits of a value's message control header (PS3.8 E.2).
constexpr std::uint8_t kCommandBit = 1;
constexpr std::uint8_t kLastBit = 2;

} // namespace

Association::Association(const AssociationRequest &request,
                         InboxDisk &disk,
                         AssociationOutlet &outlet,
                         std::string fileNames,
                         SpaceClaim claim)
    : m_request(request), m_negotiation(request), m_disk(disk), m_outlet(outlet),
      m_fileNames(std::move(fileNames)), m_claim(claim)
{
}

std::string Association::accept() const
{
    return encodeAccept(m_request, m_negotiation);
}

void Association::onFragment(std::uint8_t contextId,
                             std::uint8_t control,
                             std::string_view piece,
                             bool endsValue)
{
    if (m_state != State::open) {
        return;
    }
    if (m_negotiation.transferSyntax(contextId).empty()) {
        throw ProtocolError("data came in a presentation context that isn't open");
    }
    const bool endsMessage = endsValue && (control & kLastBit) != 0;
    if ((control & kCommandBit) != 0) {
        onCommandPiece(contextId, piece, endsMessage);
    } else {
        onDataSetPiece(contextId, piece, endsMessage);
    }
}

void Association::onCommandPiece(std::uint8_t contextId, std::string_view piece, bool endsCommand)
{
    if (m_dataSetFollows) {
        throw ProtocolError("a command came where a dataset should go on");
    }
    if (m_commandContext.value_or(contextId) != contextId) {
        throw ProtocolError("the fragments of a command came in two presentation contexts");
    }
    m_commandContext = contextId;
    if (m_commandBytes.size() + piece.size() > kMaxCommandBytes) {
        throw ProtocolError("a command is too long");
    }
    m_commandBytes += piece;
    if (endsCommand) {
        onCommand(contextId);
    }
}

void Association::onCommand(std::uint8_t contextId)
{
    m_command = parseCommandSet(m_commandBytes);
    m_commandBytes.clear();
    m_commandContext.reset();
    m_contextId = contextId;
    if (!m_command.hasDataSet) {
        onMessage();
        return;
    }
    m_dataSetFollows = true;
    if (m_command.field == kStoreRequest) {
        const FileHeader header{m_command.sopClass,
                                m_command.sopInstance,
                                std::string(m_negotiation.transferSyntax(contextId)),
                                m_request.callingTitle};
        m_instance.emplace(
            m_disk, m_fileNames + std::to_string(++m_objects), encodeFileHeader(header), m_claim);
    }
}

void Association::onDataSetPiece(std::uint8_t contextId, std::string_view piece, bool endsDataSet)
{
    if (!m_dataSetFollows || contextId != m_contextId) {
        throw ProtocolError("a dataset came that no command announced");
    }
    if (m_instance) {
        m_instance->append(piece);
    }
    if (endsDataSet) {
        m_dataSetFollows = false;
        onMessage();
    }
}

/// A command and the dataset that it announced, if any, are there.
void Association::onMessage()
{
    if (m_command.field == kStoreRequest) {
        finishStore();
    } else if (m_command.field == kEchoRequest) {
        respond(kSuccess, {});
    } else if (m_command.field != kCancelRequest && (m_command.field & kResponseBit) == 0) {
        respond(kUnrecognizedOperation, {});
    }
}

void Association::finishStore()
{
    if (!m_instance || m_instance->dataSetBytes() == 0) {
        m_instance.reset();
        refuseObject(kCannotUnderstand, "the object has no dataset");
        return;
    }
    if (!m_instance->finish()) {
        const int error = -m_instance->trouble();
        m_instance.reset();
        refuseObject(kOutOfResources, std::generic_category().message(error));
        return;
    }
    const std::string finalName = m_instance->finalName();
    m_instance.reset();
    respond(kSuccess, {});
    m_outlet.onStored(finalName);
}

void Association::refuseObject(std::uint16_t status, std::string why)
{
    ++m_refusedObjects;
    m_lastRefusal = std::move(why);
    respond(status, m_lastRefusal);
}

void Association::respond(std::uint16_t status, std::string_view comment)
{
    const std::string response = encodeResponse(m_command, status, comment);
    if (!m_outlet.send(encodeMessage(m_contextId, MessagePart::command, response, m_request.maximumLength))) {
        m_state = State::cut;
    }
}

void Association::onReleaseRequest()
{
    if (m_state != State::open) {
        return;
    }
    if (m_dataSetFollows) {
        throw ProtocolError("a release came where a dataset should go on");
    }
    m_state = m_outlet.send(encodeReleaseReply()) ? State::released : State::cut;
}

void Association::onAbort()
{
    if (m_state == State::open) {
        m_state = State::aborted;
    }
}

} // namespace gateway::dicom_helper::scp
