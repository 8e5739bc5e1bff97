#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace gateway::dicom_helper::scp {

/// Reasons of an abort by the service provider (PS3.8 table 9-26).
enum class AbortReason : std::uint8_t
{
    notSpecified = 0,
    unrecognizedPdu = 1,
    unexpectedPdu = 2,
    invalidParameter = 6
};

/// The peer sent what the protocol doesn't allow; the association can only be aborted.
class ProtocolError : public std::runtime_error
{
public:
    explicit ProtocolError(const std::string &what, AbortReason reason = AbortReason::invalidParameter)
        : std::runtime_error(what), m_reason(reason)
    {
    }

    /// What the peer is to be told.
    AbortReason reason() const { return m_reason; }

private:
    AbortReason m_reason;
};

} // namespace gateway::dicom_helper::scp
