#pragma once

namespace gateway::dicom_helper::jpeg_ls {

/// What of the processor is used.
enum class Instructions
{
    baseline, ///< what every processor of the architecture has
    avx2,
};

/// The best that this processor has.
Instructions bestInstructions();

} // namespace gateway::dicom_helper::jpeg_ls
