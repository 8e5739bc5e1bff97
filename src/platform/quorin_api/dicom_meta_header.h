#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>

#include <optional>

namespace gateway::platform {

/// What an upload needs of a file.
struct DicomMetaHeader
{
    QByteArray sopInstanceUid; ///< (0002,0003), without padding, never empty
};

/// How many bytes of a file's start the reader needs to see at most.
inline constexpr qsizetype kMetaHeaderWindow = 16 * 1024;

/// Reads the file meta information at the start of a file (PS3.10 7.1): preamble, "DICM", elements of
/// group 0002 in explicit VR little endian, in ascending order.
///
/// Strict and tiny: it looks at these few elements only and takes nothing on trust; whatever deviates
/// gives nothing. Thread: any.
///
/// \param start  the first `kMetaHeaderWindow` bytes of the file, or all of it if it is shorter.
std::optional<DicomMetaHeader> readDicomMetaHeader(QByteArrayView start);

} // namespace gateway::platform
