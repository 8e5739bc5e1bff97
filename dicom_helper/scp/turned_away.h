#pragma once

#include "platform/dicom_protocol/channel.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

// Why a peer was turned away, as the log and the metrics name it. They never change.
inline constexpr char kAllAssociationsTaken[] = "all_associations_taken";
inline constexpr char kAddressHasItsAssociations[] = "address_has_its_associations";
inline constexpr char kTooManyConnections[] = "too_many_connections"; // that have asked for nothing yet
inline constexpr char kRequestsTooLarge[] = "requests_too_large";     // the unfinished ones together
inline constexpr char kRequestTooLate[] = "request_too_late";
inline constexpr char kObjectTooSlow[] = "object_too_slow";

/// Who was turned away: tells the gateway the first one at once and then, of each reason, how many there
/// were, once a minute at most; a flood costs the log no more than that.
///
/// Owner: Listener. Thread: the listener's.
class TurnedAway
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// \param host  the peer's address without its port.
    void note(const std::string &reason, const std::string &host);

    /// Sends what is due.
    void tell(platform::dicom_protocol::Channel &channel, TimePoint now);

    /// When tell() has something to do; nothing when there is nothing to tell.
    std::optional<TimePoint> due() const;

    /// The record that tells of some.
    static platform::dicom_protocol::Record
    record(const std::string &reason, const std::string &host, std::int64_t count);

private:
    struct Tally
    {
        std::int64_t count = 0;
        std::string host; // the last one
        TimePoint tellAt; // no earlier than that
    };

    std::map<std::string, Tally> m_tallies;
};

} // namespace gateway::dicom_helper::scp
