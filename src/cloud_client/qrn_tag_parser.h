#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>
#include <optional>

namespace gateway::cloud_client {

/// The attributes that queries ask for, by the standard's keywords; each value is the tag.
enum class QrnDicomTag : std::uint32_t
{
    SOPInstanceUID = 0x00080018,
    StudyDate = 0x00080020,
    SeriesDate = 0x00080021,
    StudyTime = 0x00080030,
    AccessionNumber = 0x00080050,
    Modality = 0x00080060,
    ModalitiesInStudy = 0x00080061,
    InstitutionName = 0x00080080,
    ReferringPhysicianName = 0x00080090,
    StudyDescription = 0x00081030,
    SeriesDescription = 0x0008103E,
    PatientName = 0x00100010,
    PatientID = 0x00100020,
    PatientBirthDate = 0x00100030,
    StudyInstanceUID = 0x0020000D,
    SeriesInstanceUID = 0x0020000E,
    SeriesNumber = 0x00200011,
    NumberOfStudyRelatedSeries = 0x00201206,
    NumberOfStudyRelatedInstances = 0x00201208,
    NumberOfSeriesRelatedInstances = 0x00201209
};

/// The eight hexadecimal digits that name the tag in DICOM JSON.
QString tagKey(QrnDicomTag tag);

/// The representations of one person's name (PS3.5 6.2), each empty where it isn't there.
struct QrnPersonName
{
    QString alphabetic;
    QString ideographic;
    QString phonetic;

    bool operator==(const QrnPersonName &) const = default;
};

/// Reads attributes out of a DICOM JSON object (PS3.18 F.2). Thread: any; never throws.
class QrnTagParser
{
public:
    /// The attribute as text, empty when absent: several values are joined by ", ", of a person's name the
    /// first representation that is there counts, a number is written in decimal.
    static QString getStringTag(const QVariantMap &object, QrnDicomTag tag);

    /// The first value as a person's name, also where all representations came in one text, parted by "=".
    static QrnPersonName getPersonName(const QVariantMap &object, QrnDicomTag tag);

    /// The first value as a whole number, also from decimal text; nothing when absent or anything else.
    static std::optional<qint64> getIntTag(const QVariantMap &object, QrnDicomTag tag);
};

} // namespace gateway::cloud_client
