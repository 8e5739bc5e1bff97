#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::cloud {

/// `text` without the blanks, tabs and line ends around it. Thread: any.
std::string trimmed(std::string_view text);

/// `text` with A to Z made small. Thread: any.
std::string lowerCase(std::string_view text);

/// The pieces of `text` between `separator`; empty ones too. Thread: any.
std::vector<std::string> split(std::string_view text, char separator);

/// A decimal number without sign that fits 64 bits; nothing for any other text. Thread: any.
std::optional<unsigned long long> decimal(std::string_view text);

/// A media type with its parameters, such as `multipart/related; type="application/dicom"; boundary=x`.
///
/// Thread: any; a value.
struct MediaType
{
    std::string name;                                           ///< in lower case, without parameters
    std::map<std::string, std::string, std::less<>> parameters; ///< names in lower case, values unquoted

    /// The parameter, or an empty text. Thread: any.
    std::string parameter(std::string_view parameterName) const;
};

/// Reads a header field's value (RFC 9110, section 8.3.1); what can't be read is left out. Thread: any.
MediaType parseMediaType(std::string_view text);

} // namespace gateway::cloud
