#pragma once

#include "dicom_helper/sender/sample_object.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::sender {

/// How an attempt to store the sample ended.
struct StoreOutcome
{
    enum class Kind
    {
        stored,
        unreachable, ///< no connection
        rejected,    ///< the association was refused
        notTaken,    ///< no images of this kind are taken
        failed,      ///< the image was refused, with `status`
        broken,      ///< the connection ended, or what came isn't DICOM
        silent       ///< no answer in time
    };

    Kind kind = Kind::broken;
    std::uint16_t status = 0; ///< of `failed` (PS3.4 B.2.3)

    bool operator==(const StoreOutcome &) const = default;
};

/// Who sends to whom: at most 16 characters each.
struct Titles
{
    std::string called;
    std::string calling;
};

/// Opens an association over a connection, stores the sample and releases.
///
/// What comes over the connection is doubted like any peer's word.
///
/// \param connection  a connected socket with its time-outs set; blocks on it.
StoreOutcome storeSample(int connection, const Titles &titles, const SampleIdentity &identity);

} // namespace gateway::dicom_helper::sender
