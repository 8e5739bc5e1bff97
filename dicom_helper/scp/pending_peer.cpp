#include "dicom_helper/scp/pending_peer.h"

#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/pdus.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/socket.h>

namespace gateway::dicom_helper::scp {

namespace {

// Bit 0 of the protocol version is the only one that there is (PS3.8 9.3.2).
constexpr std::uint16_t kVersionOne = 1;

std::uint32_t bodyLength(std::string_view header)
{
    ByteReader reader(header);
    reader.take(2);
    return reader.bigLong();
}

} // namespace

std::size_t PendingPeer::wantedBytes() const
{
    return m_bytes.size() < kPduHeaderBytes ? kPduHeaderBytes : kPduHeaderBytes + bodyLength(m_bytes);
}

void PendingPeer::abandon()
{
    m_socket.close();
    std::string().swap(m_bytes); // an assignment would keep the memory
}

PendingPeer::Progress PendingPeer::read()
{
    if (isAbandoned()) {
        return Progress::dropped;
    }
    for (;;) {
        std::array<char, 64 * 1024> piece;
        const std::size_t wanted = std::min(piece.size(), wantedBytes() - m_bytes.size());
        const ssize_t size = ::recv(m_socket.get(), piece.data(), wanted, 0);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0 && errno == EAGAIN) {
            return Progress::waiting;
        }
        if (size <= 0) {
            return Progress::dropped;
        }
        m_bytes.append(piece.data(), static_cast<std::size_t>(size));
        const Progress progress = onBytes();
        if (progress != Progress::waiting) {
            return progress;
        }
    }
}

PendingPeer::Progress PendingPeer::onBytes()
{
    if (static_cast<PduType>(m_bytes.front()) != PduType::associateRequest) {
        answer(encodeAbort(AbortReason::unrecognizedPdu));
        return Progress::dropped;
    }
    if (m_bytes.size() >= kPduHeaderBytes && bodyLength(m_bytes) > kMaxRequestBytes) {
        answer(encodeAbort(AbortReason::invalidParameter));
        return Progress::dropped;
    }
    if (m_bytes.size() < kPduHeaderBytes || m_bytes.size() < wantedBytes()) {
        return Progress::waiting;
    }
    try {
        m_request = parseAssociationRequest(std::string_view(m_bytes).substr(kPduHeaderBytes));
    } catch (const ProtocolError &) {
        answer(encodeAbort(AbortReason::invalidParameter));
        return Progress::dropped;
    }
    if ((m_request.protocolVersion & kVersionOne) == 0) {
        answer(encodeReject(kProtocolVersionNotSupported));
        return Progress::dropped;
    }
    return Progress::complete;
}

void PendingPeer::answer(const std::string &pdu)
{
    ::send(m_socket.get(), pdu.data(), pdu.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ::shutdown(m_socket.get(), SHUT_WR);
}

} // namespace gateway::dicom_helper::scp
