#pragma once

#include <QtCore/QString>

#include <string_view>

namespace gateway::cloud {

/// Decodes a text value written in the character set that (0008,0005) names (PS3.3, section C.12.1.1.2). What
/// can't be decoded so is read as ISO 8859-1, so that no value gets lost. Thread: any.
///
/// \param characterSet  the attribute's value; several values mean code extensions.
QString decodeText(std::string_view text, std::string_view characterSet);

} // namespace gateway::cloud
