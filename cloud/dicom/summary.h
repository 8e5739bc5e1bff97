#pragma once

#include "cloud/dicom/element_reader.h"

#include <QtCore/QString>

#include <cstdint>
#include <map>

namespace gateway::cloud {

/// What the index wants to know of a DICOM file.
///
/// Thread: any; a value.
struct DicomSummary
{
    FileMeta meta;
    std::map<std::uint32_t, QString> attributes; ///< the indexed ones that the object carries, by tag

    /// The value, or an empty text. Thread: any.
    QString value(std::uint32_t tag) const;
};

/// Reads a whole file's meta information and indexed attributes. An object which names no study or series is
/// a study and a series of its own: its SOP instance UID stands for the missing ones. Thread: any.
/// \throws DicomFormatError  where the SOP instance UID can't be found, or the data set breaks off before it
/// has
///                           named instance, series and study.
DicomSummary summarize(Bytes file);

} // namespace gateway::cloud
