#pragma once

#include "platform/descriptors/descriptor.h"
#include "platform/dicom_protocol/record.h"

#include <chrono>
#include <optional>
#include <utility>

namespace gateway::platform::dicom_protocol {

/// One end of a socket pair of whole packets (AF_UNIX, SOCK_SEQPACKET) that carries records.
///
/// Owns its descriptor, which is close-on-exec. Thread: any number of threads and processes may send at
/// once, since a packet is never split; one receives.
class Channel
{
public:
    enum class Receipt
    {
        record,  ///< a record came
        closed,  ///< the other end is gone
        timeout, ///< nothing came in time
        broken   ///< something came that is no record; the channel is of no further use
    };

    Channel() = default;
    explicit Channel(int descriptor) : m_descriptor(descriptor) {}

    /// Two connected ends. \throws std::system_error
    static std::pair<Channel, Channel> makePair();

    bool isOpen() const { return m_descriptor.isOpen(); }
    int descriptor() const { return m_descriptor.get(); }
    void close() { m_descriptor.close(); }

    /// Makes a receive on any thread end with `closed`.
    void shutdown();

    /// Sends one record; blocks while the other end is behind.
    ///
    /// \return false when the other end is gone. \throws std::length_error as encode() does.
    bool send(const Record &record);

    /// Sends one record unless that would have to wait.
    ///
    /// \return false when it wasn't sent: the other end is gone or far behind.
    /// \throws std::length_error as encode() does.
    bool trySend(const Record &record);

    /// Waits for one record; a negative `timeout` waits for ever.
    Receipt receive(Record &record, std::chrono::milliseconds timeout = std::chrono::milliseconds(-1));

private:
    bool send(const Record &record, int flags);

    Descriptor m_descriptor;
};

} // namespace gateway::platform::dicom_protocol
