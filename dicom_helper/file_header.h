#pragma once

#include <string>

namespace gateway::dicom_helper {

/// What the header of a file tells about it; texts as they came.
struct FileHeader
{
    std::string sopClass;
    std::string sopInstance;
    std::string transferSyntax;
    std::string sourceTitle;
};

/// Preamble and file meta information (PS3.10 7.1), to be followed by the dataset as it came.
///
/// A UID that isn't plain ASCII, or has a slash in it, is left empty, and a title that isn't plain ASCII is
/// left out: nobody downstream meets a hostile text here. A sloppy UID stays: it may be the object's only
/// name.
std::string encodeFileHeader(const FileHeader &header);

} // namespace gateway::dicom_helper
