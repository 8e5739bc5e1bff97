#pragma once

#include "cloud/dicom/element_reader.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstdint>
#include <string_view>

namespace gateway::cloud {

/// Eight upper-case hexadecimal digits, the name of an attribute in the DICOM JSON model. Thread: any.
QString jsonName(std::uint32_t tag);

/// An attribute with a text value, several values parted by backslashes, in the DICOM JSON model (PS3.18,
/// annex F). Numbers in text become numbers where they can be read as such. Thread: any.
QJsonObject jsonFromText(std::string_view vr, const QString &text);

/// A whole data set, up to the pixel data, in the DICOM JSON model. Binary values above 1 KiB are left out,
/// their VR stays. Where the data breaks off, what stands before it is given. Thread: any.
QJsonObject jsonFromDataset(Bytes dataset, Encoding encoding);

} // namespace gateway::cloud
