#pragma once

#include <stdexcept>

namespace gateway::dicom_helper::scp {

/// The peer sent what the protocol doesn't allow; the association can only be aborted.
class ProtocolError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace gateway::dicom_helper::scp
