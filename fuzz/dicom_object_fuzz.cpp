#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/object_comparison.h"
#include "platform/dicom_protocol/record.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

/// Parses the bytes as a file. What is read has its keys, and the answer fits a record; the object is the
/// same as itself, and its elements are walked twice side by side.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const int file = ::memfd_create("object", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    const auto record =
        gateway::dicom_helper::worker::parseObject(path, gateway::dicom_helper::worker::Look::whole);
    if (record.word == "parsed") {
        for (const char *key : {"patientUID", "studyID", "SOPUID"}) {
            if (record.text(key).size() < 2) {
                std::abort();
            }
        }
    }
    gateway::platform::dicom_protocol::encode(record);
    if (gateway::dicom_helper::worker::compareObjects(path, path, path).word != "same") {
        std::abort();
    }
    gateway::dicom_helper::worker::sameAttributes(path, path);
    return 0;
}
