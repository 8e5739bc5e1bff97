#pragma once

#include "platform/dicom_protocol/record.h"

#include <map>
#include <stdexcept>
#include <string>
#include <utility>

namespace gateway::dicom_helper::scp {

/// Why nobody can listen: a code and its values, to which the gateway gives words.
class Refusal : public std::runtime_error
{
public:
    using Values = std::map<std::string, std::string, std::less<>>;

    /// \param code  one of platform::dicom_protocol::refusal.
    explicit Refusal(const std::string &code, Values values = {})
        : std::runtime_error(code), m_record{"refused", std::move(values)}
    {
        m_record.fields["code"] = code;
    }

    const platform::dicom_protocol::Record &record() const { return m_record; }

private:
    platform::dicom_protocol::Record m_record;
};

} // namespace gateway::dicom_helper::scp
