#include "cloud/dicom/attributes.h"

#include <algorithm>
#include <charconv>

namespace gateway::cloud {

namespace {

constexpr Attribute kIndexed[] = {
    {0x00080020, "StudyDate", "DA", Level::study, false},
    {0x00080030, "StudyTime", "TM", Level::study, false},
    {0x00080050, "AccessionNumber", "SH", Level::study, false},
    {0x00080061, "ModalitiesInStudy", "CS", Level::study, true},
    {0x00080080, "InstitutionName", "LO", Level::study, false},
    {0x00080090, "ReferringPhysicianName", "PN", Level::study, false},
    {0x00081030, "StudyDescription", "LO", Level::study, false},
    {0x00100010, "PatientName", "PN", Level::study, false},
    {0x00100020, "PatientID", "LO", Level::study, false},
    {0x00100021, "IssuerOfPatientID", "LO", Level::study, false},
    {0x00100030, "PatientBirthDate", "DA", Level::study, false},
    {0x00100040, "PatientSex", "CS", Level::study, false},
    {0x0020000D, "StudyInstanceUID", "UI", Level::study, false},
    {0x00200010, "StudyID", "SH", Level::study, false},
    {0x00201206, "NumberOfStudyRelatedSeries", "IS", Level::study, true},
    {0x00201208, "NumberOfStudyRelatedInstances", "IS", Level::study, true},
    {0x00080021, "SeriesDate", "DA", Level::series, false},
    {0x00080031, "SeriesTime", "TM", Level::series, false},
    {0x00080060, "Modality", "CS", Level::series, false},
    {0x00080070, "Manufacturer", "LO", Level::series, false},
    {0x00081010, "StationName", "SH", Level::series, false},
    {0x0008103E, "SeriesDescription", "LO", Level::series, false},
    {0x00180015, "BodyPartExamined", "CS", Level::series, false},
    {0x0020000E, "SeriesInstanceUID", "UI", Level::series, false},
    {0x00200011, "SeriesNumber", "IS", Level::series, false},
    {0x00201209, "NumberOfSeriesRelatedInstances", "IS", Level::series, true},
    {0x00400244, "PerformedProcedureStepStartDate", "DA", Level::series, false},
    {0x00400245, "PerformedProcedureStepStartTime", "TM", Level::series, false},
    {0x00080016, "SOPClassUID", "UI", Level::instance, false},
    {0x00080018, "SOPInstanceUID", "UI", Level::instance, false},
    {0x00083002, "AvailableTransferSyntaxUID", "UI", Level::instance, false},
    {0x00200013, "InstanceNumber", "IS", Level::instance, false},
    {0x00280008, "NumberOfFrames", "IS", Level::instance, false},
    {0x00280010, "Rows", "US", Level::instance, false},
    {0x00280011, "Columns", "US", Level::instance, false},
    {0x00280100, "BitsAllocated", "US", Level::instance, false},
};

struct DictionaryEntry
{
    std::uint32_t tag;
    const char *vr;
};

// Besides the indexed ones: what images commonly carry, in the order of tags.
constexpr DictionaryEntry kDictionary[] = {
    {0x00080005, "CS"}, {0x00080008, "CS"}, {0x00080012, "DA"}, {0x00080013, "TM"}, {0x00080022, "DA"},
    {0x00080023, "DA"}, {0x00080032, "TM"}, {0x00080033, "TM"}, {0x00080064, "CS"}, {0x00080081, "ST"},
    {0x00080100, "SH"}, {0x00080102, "SH"}, {0x00080104, "LO"}, {0x00081032, "SQ"}, {0x00081040, "LO"},
    {0x00081048, "PN"}, {0x00081050, "PN"}, {0x00081070, "PN"}, {0x00081090, "LO"}, {0x00081110, "SQ"},
    {0x00081111, "SQ"}, {0x00081140, "SQ"}, {0x00081150, "UI"}, {0x00081155, "UI"}, {0x00082112, "SQ"},
    {0x00101010, "AS"}, {0x00101020, "DS"}, {0x00101030, "DS"}, {0x00104000, "LT"}, {0x00180050, "DS"},
    {0x00180060, "DS"}, {0x00180080, "DS"}, {0x00180081, "DS"}, {0x00180087, "DS"}, {0x00180088, "DS"},
    {0x00181000, "LO"}, {0x00181020, "LO"}, {0x00181030, "LO"}, {0x00181063, "DS"}, {0x00181150, "IS"},
    {0x00181151, "IS"}, {0x00181152, "IS"}, {0x00181164, "DS"}, {0x00185100, "CS"}, {0x00200012, "IS"},
    {0x00200020, "CS"}, {0x00200032, "DS"}, {0x00200037, "DS"}, {0x00200052, "UI"}, {0x00200060, "CS"},
    {0x00201040, "LO"}, {0x00201041, "DS"}, {0x00204000, "LT"}, {0x00280002, "US"}, {0x00280004, "CS"},
    {0x00280006, "US"}, {0x00280009, "AT"}, {0x00280030, "DS"}, {0x00280034, "IS"}, {0x00280101, "US"},
    {0x00280102, "US"}, {0x00280103, "US"}, {0x00281050, "DS"}, {0x00281051, "DS"}, {0x00281052, "DS"},
    {0x00281053, "DS"}, {0x00281054, "LO"}, {0x00282110, "CS"}, {0x00282112, "DS"}, {0x00282114, "CS"},
    {0x00321060, "LO"}, {0x00400253, "SH"}, {0x00400254, "LO"}, {0x00400275, "SQ"}, {0x0040A730, "SQ"},
    {0x00880200, "SQ"}, {0x7FE00010, "OW"},
};

} // namespace

std::span<const Attribute> indexedAttributes()
{
    return kIndexed;
}

const Attribute *indexedAttribute(std::uint32_t tag)
{
    const auto *found = std::find_if(
        std::begin(kIndexed), std::end(kIndexed), [tag](const Attribute &each) { return each.tag == tag; });
    return found == std::end(kIndexed) ? nullptr : found;
}

const Attribute *attributeNamed(std::string_view name)
{
    std::uint32_t tag = 0;
    const auto result = std::from_chars(name.data(), name.data() + name.size(), tag, 16);
    if (name.size() == 8 && result.ec == std::errc() && result.ptr == name.data() + name.size()) {
        return indexedAttribute(tag);
    }
    const auto *found = std::find_if(std::begin(kIndexed), std::end(kIndexed), [name](const Attribute &each) {
        return each.keyword == name;
    });
    return found == std::end(kIndexed) ? nullptr : found;
}

std::string_view dictionaryVr(std::uint32_t tag)
{
    if (const Attribute *indexed = indexedAttribute(tag)) {
        return indexed->vr;
    }
    const auto *found = std::lower_bound(
        std::begin(kDictionary),
        std::end(kDictionary),
        tag,
        [](const DictionaryEntry &entry, std::uint32_t wanted) { return entry.tag < wanted; });
    const bool known = found != std::end(kDictionary) && found->tag == tag;
    return known ? found->vr : "UN";
}

} // namespace gateway::cloud
