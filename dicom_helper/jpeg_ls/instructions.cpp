#include "dicom_helper/jpeg_ls/instructions.h"

namespace gateway::dicom_helper::jpeg_ls {

Instructions bestInstructions()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0) {
        return Instructions::avx2;
    }
#endif
    return Instructions::baseline;
}

} // namespace gateway::dicom_helper::jpeg_ls
