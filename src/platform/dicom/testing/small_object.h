#pragma once

#include <cstdint>
#include <string>

namespace gateway::platform::testing {

/// One element, explicit little endian, of a representation with a short length.
std::string
element(std::uint16_t group, std::uint16_t number, const std::string &representation, std::string value);

/// A file with a grey image of 64 by 48 smooth pixels: patient P1, study 1.2.3 of 2020-01-31, instance
/// 1.2.3.4.5.
///
/// \param more           further elements, of groups between 0008 and 0028.
/// \param bitsAllocated  16, or 32, which no lossless form is made of.
std::string smallObject(const std::string &more = {}, std::uint16_t bitsAllocated = 16);

} // namespace gateway::platform::testing
