#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>
#include <optional>

namespace gateway::index {

/// What the parser read from one DICOM object, as the index keeps it. What the object hasn't, or has in no
/// readable form, is absent, empty or at its default here.
///
/// Thread: a plain value.
struct ParsedObject
{
    QString patientUID; ///< never empty for an object that can be recorded
    std::optional<platform::StudyUid> studyInstanceUID;
    std::optional<platform::SeriesUid> seriesInstanceUID; ///< of the dataset
    QString seriesKey;                    ///< the series as the parser groups it, before its number
    platform::InstanceUid sopInstanceUID; ///< of the dataset; empty where it has none
    std::optional<QString> sopClassUID;
    std::optional<platform::SeriesUid> seriesDicomUID;

    std::optional<QString> patientName;
    std::optional<QString> patientID;
    std::optional<QString> studyDescription;
    std::optional<QString> referringPhysician;
    std::optional<QString> performingPhysician;
    std::optional<QString> institutionName;
    std::optional<QString> accessionNumber;
    std::optional<QString> seriesDescription;
    std::optional<QString> modality;
    std::optional<QString> comments;
    std::optional<QString> fileType;
    std::optional<std::int64_t> studyDate; ///< milliseconds since 1970, UTC

    std::int64_t seriesNumber = 0;
    std::int64_t instanceNumber = 0;
    std::int64_t height = 0; ///< pixels
    std::int64_t width = 0;  ///< pixels
    std::int64_t numberOfFrames = 1;
    std::int64_t numberOfSeries = 1;

    std::optional<double> windowWidth;
    std::optional<double> windowCenter;
    std::optional<double> sliceLocation;   ///< millimetres
    std::optional<QByteArray> orientation; ///< 32-bit floats, little-endian
    std::optional<QByteArray> origin;      ///< the same; millimetres

    bool hasDicom = false;
    bool isDamaged = false; ///< the file ends before its elements do
};

/// Reads the parser's elements by their keys.
ParsedObject parsedObject(const QVariantMap &elements);

} // namespace gateway::index
