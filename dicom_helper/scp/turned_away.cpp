#include "dicom_helper/scp/turned_away.h"

#include <algorithm>

namespace gateway::dicom_helper::scp {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

namespace {

constexpr std::chrono::minutes kPause(1);

} // namespace

void TurnedAway::note(const std::string &reason, const std::string &host)
{
    Tally &tally = m_tallies[reason];
    ++tally.count;
    tally.host = host;
}

void TurnedAway::tell(Channel &channel, TimePoint now)
{
    for (auto &[reason, tally] : m_tallies) {
        if (tally.count > 0 && now >= tally.tellAt) {
            channel.send(record(reason, tally.host, tally.count));
            tally.count = 0;
            tally.tellAt = now + kPause;
        }
    }
}

std::optional<TurnedAway::TimePoint> TurnedAway::due() const
{
    std::optional<TimePoint> next;
    for (const auto &[reason, tally] : m_tallies) {
        if (tally.count > 0) {
            next = std::min(next.value_or(TimePoint::max()), tally.tellAt);
        }
    }
    return next;
}

Record TurnedAway::record(const std::string &reason, const std::string &host, std::int64_t count)
{
    Record record{"turnedaway", {{"reason", reason}, {"host", host}}};
    record.setNumber("count", count);
    return record;
}

} // namespace gateway::dicom_helper::scp
