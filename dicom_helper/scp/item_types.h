#pragma once

#include <cstdint>

namespace gateway::dicom_helper::scp {

/// Types of the items and sub-items of association requests and answers (PS3.8 9.3.2, 9.3.3, D.1, D.3.3).
namespace item_type {

constexpr std::uint8_t kApplicationContext = 0x10;
constexpr std::uint8_t kPresentationContext = 0x20; // as it is asked for
constexpr std::uint8_t kAnsweredContext = 0x21;
constexpr std::uint8_t kAbstractSyntax = 0x30;
constexpr std::uint8_t kTransferSyntax = 0x40;
constexpr std::uint8_t kUserInformation = 0x50;
constexpr std::uint8_t kMaximumLength = 0x51;
constexpr std::uint8_t kImplementationClass = 0x52;
constexpr std::uint8_t kImplementationVersion = 0x55;

} // namespace item_type

} // namespace gateway::dicom_helper::scp
