#include "index/parsed_object.h"

#include "index/import_elements.h"

namespace gateway::index {

using elements::boolean;
using elements::date;
using elements::floats;
using elements::integer;
using elements::number;
using elements::text;

namespace {

QString textOrEmpty(const QVariantMap &found, const QString &key)
{
    return text(found, key).value_or(QString());
}

template <typename Uid>
std::optional<Uid> uid(const QVariantMap &found, const QString &key)
{
    const std::optional<QString> value = text(found, key);
    return value ? std::optional(Uid(*value)) : std::nullopt;
}

void readIdentity(ParsedObject &object, const QVariantMap &found)
{
    object.patientUID = textOrEmpty(found, QStringLiteral("patientUID"));
    object.studyInstanceUID = uid<platform::StudyUid>(found, QStringLiteral("studyID"));
    object.seriesInstanceUID = uid<platform::SeriesUid>(found, QStringLiteral("seriesInstanceUID"));
    object.seriesKey = textOrEmpty(found, QStringLiteral("seriesID"));
    object.sopInstanceUID = platform::InstanceUid(textOrEmpty(found, QStringLiteral("SOPUID")));
    object.sopClassUID = text(found, QStringLiteral("SOPClassUID"));
    object.seriesDicomUID = uid<platform::SeriesUid>(found, QStringLiteral("seriesDICOMUID"));
}

void readDescription(ParsedObject &object, const QVariantMap &found)
{
    object.patientName = text(found, QStringLiteral("patientName"));
    object.patientID = text(found, QStringLiteral("studyNumber"));
    object.studyDescription = text(found, QStringLiteral("studyDescription"));
    object.referringPhysician = text(found, QStringLiteral("referringPhysiciansName"));
    object.performingPhysician = text(found, QStringLiteral("performingPhysiciansName"));
    object.institutionName = text(found, QStringLiteral("institutionName"));
    object.accessionNumber = text(found, QStringLiteral("accessionNumber"));
    object.seriesDescription = text(found, QStringLiteral("seriesDescription"));
    object.modality = text(found, QStringLiteral("modality"));
    object.comments = text(found, QStringLiteral("ImageComments"));
    object.fileType = text(found, QStringLiteral("fileType"));
    object.studyDate = date(found, QStringLiteral("studyDate"));
}

void readGeometry(ParsedObject &object, const QVariantMap &found)
{
    object.height = integer(found, QStringLiteral("height"), 0);
    object.width = integer(found, QStringLiteral("width"), 0);
    object.windowWidth = number(found, QStringLiteral("WindowWidth"));
    object.windowCenter = number(found, QStringLiteral("WindowCenter"));
    object.sliceLocation = number(found, QStringLiteral("sliceLocation"));
    object.orientation = floats(found, QStringLiteral("orientation"));
    object.origin = floats(found, QStringLiteral("origin"));
}

} // namespace

ParsedObject parsedObject(const QVariantMap &elements)
{
    ParsedObject object;
    readIdentity(object, elements);
    readDescription(object, elements);
    readGeometry(object, elements);
    object.seriesNumber = integer(elements, QStringLiteral("seriesNumber"), 0);
    object.instanceNumber = integer(elements, QStringLiteral("imageID"), 0);
    object.numberOfFrames = integer(elements, QStringLiteral("numberOfFrames"), 1);
    object.numberOfSeries = integer(elements, QStringLiteral("numberOfSeries"), 1);
    object.hasDicom = boolean(elements, QStringLiteral("hasDICOM")).value_or(false);
    object.isDamaged = boolean(elements, QStringLiteral("damaged")).value_or(false);
    return object;
}

} // namespace gateway::index
