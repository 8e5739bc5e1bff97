#include "dicom_helper/scp/scp.h"

namespace gateway::dicom_helper::scp {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

int run(Channel channel)
{
    Record record;
    while (channel.receive(record) == Channel::Receipt::record && record.word != "stop") {
        channel.send(Record{"refused", {{"message", "This build has no listener."}}});
    }
    return 1;
}

} // namespace gateway::dicom_helper::scp
