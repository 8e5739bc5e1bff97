#include "dicom_helper/scp/scp.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/scp/inbox.h"
#include "dicom_helper/scp/listener.h"
#include "dicom_helper/scp/refusal.h"
#include "platform/dicom_protocol/words.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <string>

namespace gateway::dicom_helper::scp {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

ListenerSettings settingsOf(const Record &start)
{
    ListenerSettings settings;
    settings.address = std::string(start.text("bind"));
    settings.port = start.number("port", -1);
    settings.timeout = std::chrono::seconds(start.number("timeout", 0));
    settings.reserve = start.number("reserve", 0);
    settings.perAddress = static_cast<std::size_t>(std::max<std::int64_t>(start.number("peraddress", 1), 1));
    return settings;
}

Record listening(std::uint16_t port)
{
    Record record{"listening", {}};
    record.setNumber("port", port);
    return record;
}

} // namespace

int run(Channel channel)
{
    Record start;
    if (channel.receive(start) != Channel::Receipt::record || start.word != "start") {
        return 0; // the gateway changed its mind before it began
    }
    try {
        Inbox inbox{std::string(start.text("inbox")), std::string(start.text("inboxid"))};
        inbox.raise(start.number("after", 0));
        inbox.requireTimes();
        Listener listener(settingsOf(start), inbox, channel);
        inbox.sweep();
        confineListener();
        channel.send(listening(listener.port()));
        std::_Exit(listener.run()); // what runs at an end may miss what is forbidden now
    } catch (const Refusal &refusal) {
        channel.send(refusal.record());
        return 1;
    } catch (const std::exception &error) {
        channel.send(
            Refusal(platform::dicom_protocol::refusal::kOther, {{"message", error.what()}}).record());
        return 1;
    }
}

} // namespace gateway::dicom_helper::scp
