#pragma once

#include <string>

namespace gateway::dicom_helper::scp {

/// What the header of a received file tells about it; texts as the peer sent them.
struct FileHeader
{
    std::string sopClass;
    std::string sopInstance;
    std::string transferSyntax;
    std::string sourceTitle;
};

/// Preamble and file meta information (PS3.10 7.1), to be followed by the dataset as it came.
///
/// A SOP class or instance that isn't made of digits and dots is left empty, and a title that isn't plain
/// ASCII is left out: the dataset says them too, and nobody downstream meets a hostile text here.
std::string encodeFileHeader(const FileHeader &header);

} // namespace gateway::dicom_helper::scp
