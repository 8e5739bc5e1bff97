#include "dicom_helper/worker/elements.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/content_uid.h"
#include "dicom_helper/worker/frame_count.h"
#include "dicom_helper/worker/identity.h"
#include "dicom_helper/worker/numbers.h"
#include "dicom_helper/worker/object_end.h"
#include "dicom_helper/worker/object_header.h"
#include "dicom_helper/worker/text_decoder.h"
#include "platform/dicom_protocol/words.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Record;

/// All texts together stay far below what one record may hold.
constexpr std::size_t kLongestText = 4096;
constexpr std::size_t kLongestCommentText = std::size_t{16} * 1024;

/// A directory of a medium lists objects and is none (PS3.3 F.3).
constexpr std::string_view kMediaStorageDirectory = "1.2.840.10008.1.3.10";

struct TextElement
{
    std::string_view key;
    Tag tag;
};

constexpr std::array kTexts{TextElement{"patientName", kPatientName},
                            TextElement{"studyNumber", kPatientId},
                            TextElement{"studyDescription", kStudyDescription},
                            TextElement{"modality", kModality},
                            TextElement{"accessionNumber", kAccessionNumber},
                            TextElement{"institutionName", kInstitutionName},
                            TextElement{"referringPhysiciansName", kReferringPhysicianName},
                            TextElement{"performingPhysiciansName", kPerformingPhysicianName},
                            TextElement{"seriesDescription", kSeriesDescription},
                            TextElement{"ImageComments", kImageComments}};

/// Collects typed values under their keys; an empty or absent one leaves no field.
class Fields
{
public:
    void text(std::string_view key, std::string value)
    {
        if (!value.empty()) {
            put(key, platform::dicom_protocol::kTextValue, std::move(value));
        }
    }

    void integer(std::string_view key, std::optional<std::int64_t> value)
    {
        if (value) {
            put(key, platform::dicom_protocol::kIntegerValue, std::to_string(*value));
        }
    }

    void real(std::string_view key, std::optional<double> value)
    {
        if (value) {
            put(key, platform::dicom_protocol::kRealValue, number(*value));
        }
    }

    /// \param count  how many values the attribute has by its definition; others are no use to anyone.
    void reals(std::string_view key, const std::vector<double> &values, std::size_t count)
    {
        if (values.size() != count) {
            return;
        }
        std::string all;
        for (const double value : values) {
            all += (all.empty() ? "" : "\\") + number(value);
        }
        put(key, platform::dicom_protocol::kRealsValue, std::move(all));
    }

    void put(std::string_view key, char type, std::string value)
    {
        m_record.fields.insert_or_assign(std::string(key), type + std::move(value));
    }

    Record take() { return std::move(m_record); }

private:
    static std::string number(double value)
    {
        std::array<char, 64> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        return {digits.data(), end};
    }

    Record m_record{"parsed", {}};
};

/// The identity as it serves the index: with a study and an instance, whatever the object lacks.
Identity indexedIdentity(const ObjectHeader &header, DicomSource &source)
{
    Identity identity = identityOf(header);
    // Without a UID two images would share one row, and the first would never go out.
    if (identity.sopInstance.empty()) {
        identity.sopInstance = contentUid(source.file());
    }
    // Objects without a study would otherwise gather in one study of nobody.
    if (identity.study.empty()) {
        identity.study = identity.series.empty() ? identity.sopInstance : identity.series;
    }
    return identity;
}

/// True for what is worth an entry in the index.
bool isObject(const ObjectHeader &header)
{
    const bool instance = !uidText(header.raw(kSopInstanceUid)).empty();
    const bool study = !uidText(header.raw(kStudyInstanceUid)).empty();
    const bool sopClass = !uidText(header.raw(kSopClassUid)).empty();
    if (header.layout.isPart10) {
        return header.elements > 0 &&
               (instance || study || header.pixelData || !header.layout.mediaStorageSopInstance.empty());
    }
    // Any bytes can look like an element or two; a bare dataset shows that it is one.
    const auto isUid = [](std::string_view uid) {
        return uid.find_first_not_of("0123456789.") == std::string_view::npos;
    };
    return instance && (study || sopClass) && isUid(uidText(header.raw(kSopInstanceUid))) &&
           isUid(uidText(header.raw(kStudyInstanceUid))) && isUid(uidText(header.raw(kSopClassUid)));
}

std::string studyDate(const ObjectHeader &header)
{
    auto date = isoDate(header.word(kStudyDate));
    if (!date) {
        return {};
    }
    if (const auto time = isoTime(header.word(kStudyTime))) {
        *date += 'T' + *time + isoOffset(header.word(kTimezoneOffsetFromUtc)).value_or("");
    }
    return *date;
}

/// The patient's id with its issuer, else the name, else the study: what a patient is told apart by.
std::string patientUid(const ObjectHeader &header, const TextDecoder &decoder, const Identity &identity)
{
    const std::string id = cutUtf8(decoder.decode(header.raw(kPatientId)), kLongestText / 2);
    const std::string issuer = cutUtf8(decoder.decode(header.raw(kIssuerOfPatientId)), kLongestText / 2);
    if (!id.empty()) {
        return issuer.empty() ? id : id + "^^^" + issuer;
    }
    const std::string name = cutUtf8(decoder.decode(header.raw(kPatientName)), kLongestText);
    // A name of delimiters alone tells nobody apart.
    const bool named = name.find_first_not_of("^= ") != std::string::npos;
    return named ? name : identity.study;
}

void putTexts(Fields &fields, const ObjectHeader &header, const Identity &identity)
{
    const TextDecoder decoder(header.raw(kSpecificCharacterSet));
    for (const TextElement &element : kTexts) {
        const std::size_t longest = element.tag == kImageComments ? kLongestCommentText : kLongestText;
        fields.text(element.key, cutUtf8(decoder.decode(header.raw(element.tag)), longest));
    }
    fields.text("patientUID", patientUid(header, decoder, identity));
}

void putIdentity(Fields &fields, const ObjectHeader &header, const Identity &identity)
{
    fields.text("studyID", identity.study);
    fields.text("seriesID", identity.series);
    fields.text("seriesInstanceUID", identity.series);
    fields.text("seriesDICOMUID", uidText(header.raw(kSeriesInstanceUid)));
    fields.text("SOPClassUID", identity.sopClass);
    fields.text("SOPUID", identity.sopInstance);
    fields.text("fileType", "DICOM");
    fields.put("hasDICOM", platform::dicom_protocol::kBooleanValue, "1");
}

void putNumbers(Fields &fields, const ObjectHeader &header, DicomSource &source)
{
    fields.integer("seriesNumber", header.integerString(kSeriesNumber));
    fields.integer("imageID", header.integerString(kInstanceNumber));
    fields.integer("height", header.unsignedShort(kRows));
    fields.integer("width", header.unsignedShort(kColumns));
    fields.integer("numberOfFrames", believableFrameCount(header, source));
    fields.real("sliceLocation", parseReal(header.word(kSliceLocation)));
    fields.real("WindowWidth", parseReal(header.word(kWindowWidth)));
    fields.real("WindowCenter", parseReal(header.word(kWindowCenter)));
    fields.reals("orientation", parseReals(header.raw(kImageOrientationPatient)), 6);
    fields.reals("origin", parseReals(header.raw(kImagePositionPatient)), 3);
    const std::string date = studyDate(header);
    if (!date.empty()) {
        fields.put("studyDate", platform::dicom_protocol::kDateValue, date);
    }
}

} // namespace

Record parseObject(const std::string &path, Look look)
{
    auto source = DicomSource::open(path);
    if (!source) {
        return {"unreadable", {{"message", "it isn't a regular file"}}};
    }
    const ObjectHeader header = readHeader(*source);
    if (!isObject(header)) {
        return {"unreadable", {{"message", "the file isn't a DICOM object"}}};
    }
    const Identity identity = indexedIdentity(header, *source);
    if (identity.sopClass == kMediaStorageDirectory) {
        return {"unreadable", {{"message", "the file is the directory of a medium"}}};
    }
    Fields fields;
    putIdentity(fields, header, identity);
    putTexts(fields, header, identity);
    putNumbers(fields, header, *source);
    if (endOf(header, *source).isTooEarly) {
        fields.put("damaged", platform::dicom_protocol::kBooleanValue, "1");
    }
    Record record = fields.take();
    if (look == Look::elements) {
        return record;
    }
    try {
        record.setNumber(
            "version", contentVersion(source->file(), header.layout.datasetOffset, transferSyntaxOf(header)));
    } catch (const ReadError &) {
        // Pixels that can't be read now cost the version, not the object.
    }
    return record;
}

} // namespace gateway::dicom_helper::worker
