#include "dicom_helper/confinement/fences.h"

#include "dicom_helper/confinement/confinement.h"

#include <cstdlib>

#include <fcntl.h>

namespace gateway::dicom_helper {

using platform::dicom_protocol::Record;

int tellFences(platform::dicom_protocol::Channel channel)
{
    const int folder = ::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
    const Fences fences = confine({.places = {{folder, FolderUse::keepFiles}}});
    Record record{"fences", {}};
    record.setNumber("files", fences.files ? 1 : 0);
    record.setNumber("calls", fences.calls ? 1 : 0);
    channel.send(record);
    std::_Exit(0);
}

} // namespace gateway::dicom_helper
