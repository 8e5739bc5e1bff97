#include "dicom_helper/scp/pdu_parser.h"

#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/pdus.h"

#include <algorithm>

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::size_t kValueHeaderBytes = 6;   // length, context id, control
constexpr std::uint32_t kControlBodyBytes = 4; // of release and abort

} // namespace

void PduParser::take(std::string_view bytes, PduSink &sink)
{
    while (!bytes.empty()) {
        switch (m_state) {
        case State::pduHeader:
            if (gather(bytes, kPduHeaderBytes)) {
                onPduHeader();
            }
            break;
        case State::valueHeader:
            if (gather(bytes, kValueHeaderBytes)) {
                onValueHeader(sink);
            }
            break;
        case State::value:
            takeValue(bytes, sink);
            break;
        case State::controlBody:
            if (gather(bytes, kControlBodyBytes)) {
                onControlBody(sink);
            }
            break;
        }
    }
}

/// Moves bytes until `wanted` are gathered; false when they aren't all there yet.
bool PduParser::gather(std::string_view &bytes, std::size_t wanted)
{
    const std::string_view taken = bytes.substr(0, wanted - m_gathered.size());
    m_gathered += taken;
    bytes.remove_prefix(taken.size());
    return m_gathered.size() == wanted;
}

void PduParser::onPduHeader()
{
    ByteReader reader(m_gathered);
    m_type = reader.byte();
    reader.byte();
    m_pduLeft = reader.bigLong();
    m_gathered.clear();
    switch (static_cast<PduType>(m_type)) {
    case PduType::data:
        m_state = m_pduLeft == 0 ? State::pduHeader : State::valueHeader;
        return;
    case PduType::releaseRequest:
    case PduType::abort:
        if (m_pduLeft != kControlBodyBytes) {
            throw ProtocolError("a release or abort has the wrong length");
        }
        m_state = State::controlBody;
        return;
    case PduType::associateRequest:
    case PduType::associateAccept:
    case PduType::associateReject:
    case PduType::releaseReply:
        throw ProtocolError("a PDU came that has no place in an open association",
                            AbortReason::unexpectedPdu);
    }
    throw ProtocolError("a PDU of an unknown type came", AbortReason::unrecognizedPdu);
}

void PduParser::onValueHeader(PduSink &sink)
{
    ByteReader reader(m_gathered);
    const std::uint32_t length = reader.bigLong();
    m_contextId = reader.byte();
    m_control = reader.byte();
    m_gathered.clear();
    if (m_pduLeft < kValueHeaderBytes || length < 2 || length - 2 > m_pduLeft - kValueHeaderBytes) {
        throw ProtocolError("a data value is longer than its PDU");
    }
    m_valueLeft = length - 2;
    m_pduLeft -= static_cast<std::uint32_t>(kValueHeaderBytes);
    if (m_valueLeft == 0) {
        sink.onFragment(m_contextId, m_control, {}, true);
        endValue();
    } else {
        m_state = State::value;
    }
}

void PduParser::takeValue(std::string_view &bytes, PduSink &sink)
{
    const std::string_view piece = bytes.substr(0, m_valueLeft);
    bytes.remove_prefix(piece.size());
    m_valueLeft -= static_cast<std::uint32_t>(piece.size());
    m_pduLeft -= static_cast<std::uint32_t>(piece.size());
    sink.onFragment(m_contextId, m_control, piece, m_valueLeft == 0);
    if (m_valueLeft == 0) {
        endValue();
    }
}

void PduParser::endValue()
{
    m_state = m_pduLeft == 0 ? State::pduHeader : State::valueHeader;
}

void PduParser::onControlBody(PduSink &sink)
{
    m_gathered.clear();
    m_state = State::pduHeader;
    if (static_cast<PduType>(m_type) == PduType::abort) {
        sink.onAbort();
    } else {
        sink.onReleaseRequest();
    }
}

} // namespace gateway::dicom_helper::scp
