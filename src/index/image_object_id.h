#pragma once

#include <compare>
#include <cstdint>

namespace gateway::index {

/// The identity of one DicomImage row. Never given to another row, also after the row is gone.
struct ImageObjectID
{
    std::int64_t value = 0;

    auto operator<=>(const ImageObjectID &) const = default;
};

} // namespace gateway::index
