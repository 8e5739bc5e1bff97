#include "dicom_helper/worker/identity.h"

#include "dicom_helper/worker/attributes.h"

#include <algorithm>

namespace gateway::dicom_helper::worker {

Identity identityOf(const ObjectHeader &header)
{
    Identity identity{uidText(header.raw(kStudyInstanceUid)),
                      uidText(header.raw(kSeriesInstanceUid)),
                      uidText(header.raw(kSopClassUid)),
                      uidText(header.raw(kSopInstanceUid))};
    if (identity.sopClass.empty()) {
        identity.sopClass = header.layout.mediaStorageSopClass;
    }
    if (identity.sopInstance.empty()) {
        identity.sopInstance = header.layout.mediaStorageSopInstance;
    }
    return identity;
}

bool isNameable(std::string_view uid)
{
    // A text without any of these is no segment of an address, nor one value of an attribute.
    return !uid.empty() && uid != "." && uid != ".." && std::ranges::all_of(uid, [](char one) {
        return one >= ' ' && one <= '~' && one != '\\' && one != '/';
    });
}

} // namespace gateway::dicom_helper::worker
