#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::worker {

/// Without the padding of the default repertoire: spaces and NULs at both ends.
std::string_view trimmed(std::string_view text);

/// A whole text of an optional sign and digits (IS); nothing when it is anything else or overflows.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// A whole text as a finite number (DS); nothing when it is anything else.
std::optional<double> parseReal(std::string_view text);

/// All values of a text as numbers; empty as soon as one of them is none.
std::vector<double> parseReals(std::string_view text);

/// The date of a DA as YYYY-MM-DD, also of its old form with points; nothing when there is no such day.
std::optional<std::string> isoDate(std::string_view text);

/// The time of a TM as HH:MM:SS.mmm; nothing when there is no such time.
std::optional<std::string> isoTime(std::string_view text);

/// Timezone Offset From UTC, &HHMM, as +HH:MM; nothing when it is anything else.
std::optional<std::string> isoOffset(std::string_view text);

} // namespace gateway::dicom_helper::worker
