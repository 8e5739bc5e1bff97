#include "dicom_helper/scp/sop_classes.h"

#include <algorithm>
#include <array>

namespace gateway::dicom_helper::scp {

namespace {

// Services other than storage, from the registry of UIDs (PS3.6 table A-1). An entry that ends in a dot
// stands for everything below it.
constexpr std::array<std::string_view, 53> kOtherServices = {
    "1.2.840.10008.1.2", // transfer syntaxes, proposed by mistake
    "1.2.840.10008.1.2.",
    "1.2.840.10008.1.3.10",  // media storage directory
    "1.2.840.10008.1.9",     // basic study content notification
    "1.2.840.10008.1.20.",   // storage commitment
    "1.2.840.10008.1.40",    // procedural event logging
    "1.2.840.10008.1.42",    // substance administration logging
    "1.2.840.10008.3.1.1.1", // application context
    "1.2.840.10008.3.1.2.",  // detached management, performed procedure step
    "1.2.840.10008.4.2",     // storage service class, a meta class
    "1.2.840.10008.5.1.1.1", // print management, but for the stored prints below
    "1.2.840.10008.5.1.1.2",
    "1.2.840.10008.5.1.1.4",
    "1.2.840.10008.5.1.1.4.",
    "1.2.840.10008.5.1.1.9",
    "1.2.840.10008.5.1.1.9.",
    "1.2.840.10008.5.1.1.14",
    "1.2.840.10008.5.1.1.15",
    "1.2.840.10008.5.1.1.16",
    "1.2.840.10008.5.1.1.16.",
    "1.2.840.10008.5.1.1.17",
    "1.2.840.10008.5.1.1.17.",
    "1.2.840.10008.5.1.1.18",
    "1.2.840.10008.5.1.1.18.",
    "1.2.840.10008.5.1.1.22",
    "1.2.840.10008.5.1.1.23",
    "1.2.840.10008.5.1.1.24",
    "1.2.840.10008.5.1.1.24.",
    "1.2.840.10008.5.1.1.25",
    "1.2.840.10008.5.1.1.26",
    "1.2.840.10008.5.1.1.28",
    "1.2.840.10008.5.1.1.31",
    "1.2.840.10008.5.1.1.32",
    "1.2.840.10008.5.1.1.33",
    "1.2.840.10008.5.1.1.40",
    "1.2.840.10008.5.1.4.1.1.200.4", // protocol approval query/retrieve
    "1.2.840.10008.5.1.4.1.1.200.5",
    "1.2.840.10008.5.1.4.1.1.200.6",
    "1.2.840.10008.5.1.4.1.1.201.2", // inventory query/retrieve and creation
    "1.2.840.10008.5.1.4.1.1.201.3",
    "1.2.840.10008.5.1.4.1.1.201.4",
    "1.2.840.10008.5.1.4.1.1.201.5",
    "1.2.840.10008.5.1.4.1.1.201.6",
    "1.2.840.10008.5.1.4.1.2.",  // query/retrieve
    "1.2.840.10008.5.1.4.20.",   // defined procedure protocol query/retrieve
    "1.2.840.10008.5.1.4.31",    // modality worklist
    "1.2.840.10008.5.1.4.32.",   // general purpose worklist
    "1.2.840.10008.5.1.4.33",    // instance availability notification
    "1.2.840.10008.5.1.4.34.4.", // unified procedure step
    "1.2.840.10008.5.1.4.34.6.",
    "1.2.840.10008.5.1.4.37.", // relevant patient information
    "1.2.840.10008.5.1.4.41",  // product characteristics
    "1.2.840.10008.5.1.4.42",  // substance approval
};

// Families whose .1 is a storage class and whose .2, .3 and .4 find, move and get its objects: hanging
// protocols, color palettes, generic implant templates, their assemblies and groups.
constexpr std::array<std::string_view, 5> kQueriedFamilies = {
    "1.2.840.10008.5.1.4.38.",
    "1.2.840.10008.5.1.4.39.",
    "1.2.840.10008.5.1.4.43.",
    "1.2.840.10008.5.1.4.44.",
    "1.2.840.10008.5.1.4.45.",
};

bool names(std::string_view entry, std::string_view uid)
{
    return entry.back() == '.' ? uid.starts_with(entry) : uid == entry;
}

bool isQueryOfFamily(std::string_view family, std::string_view uid)
{
    if (!uid.starts_with(family)) {
        return false;
    }
    const std::string_view last = uid.substr(family.size());
    return last == "2" || last == "3" || last == "4";
}

} // namespace

bool isPlainUid(std::string_view uid)
{
    const auto isPlain = [](char one) { return (one >= '0' && one <= '9') || one == '.'; };
    return !uid.empty() && uid.size() <= 64 && std::all_of(uid.begin(), uid.end(), isPlain);
}

bool isTakenSopClass(std::string_view uid)
{
    const auto isNamed = [uid](std::string_view entry) { return names(entry, uid); };
    const auto isQuery = [uid](std::string_view family) { return isQueryOfFamily(family, uid); };
    return !uid.empty() && std::none_of(kOtherServices.begin(), kOtherServices.end(), isNamed) &&
           std::none_of(kQueriedFamilies.begin(), kQueriedFamilies.end(), isQuery);
}

} // namespace gateway::dicom_helper::scp
