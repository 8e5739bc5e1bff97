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

/// How the data set of that transfer syntax is written. Thread: any.
Encoding encodingOf(const std::string &transferSyntaxUid);

/// True where the data set can be read as it lies: not deflated, not big-endian. Thread: any.
bool isReadableSyntax(const std::string &transferSyntaxUid);

/// Reads a whole file's meta information and indexed attributes. An object whose data set can't be read, or
/// which names no study or series, is a study and a series of its own: its SOP instance UID stands for the
/// missing ones. Thread: any.
/// \throws DicomFormatError  where even the SOP instance UID can't be found.
DicomSummary summarize(Bytes file);

} // namespace gateway::cloud
