#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

/// Where the parser puts what it finds.
class PduSink
{
public:
    virtual ~PduSink() = default;

    /// A piece of a presentation data value (PS3.8 9.3.5.1): the pieces of one value come in order, each as
    /// soon as its bytes are there.
    ///
    /// \param control  bit 0: command, else dataset; bit 1: the last value of its message.
    /// \param endsValue  whether this piece is the end of its value.
    virtual void
    onFragment(std::uint8_t contextId, std::uint8_t control, std::string_view piece, bool endsValue) = 0;
    virtual void onReleaseRequest() = 0;
    virtual void onAbort() = 0;
};

/// Cuts the stream of an open association into PDUs; holds no more than a header, however long a PDU is.
///
/// Thread: a plain value.
class PduParser
{
public:
    /// Takes the bytes that came next. \throws ProtocolError, after which the parser is of no use.
    void take(std::string_view bytes, PduSink &sink);

    /// Whether a PDU has begun and not ended.
    bool isInsidePdu() const { return m_state != State::pduHeader || !m_gathered.empty(); }

private:
    enum class State
    {
        pduHeader,
        valueHeader,
        value,
        controlBody
    };

    bool gather(std::string_view &bytes, std::size_t wanted);
    void onPduHeader();
    void onValueHeader(PduSink &sink);
    void takeValue(std::string_view &bytes, PduSink &sink);
    void onControlBody(PduSink &sink);
    void endValue();

    State m_state = State::pduHeader;
    std::string m_gathered;
    std::uint8_t m_type = 0;
    std::uint32_t m_pduLeft = 0;
    std::uint32_t m_valueLeft = 0;
    std::uint8_t m_contextId = 0;
    std::uint8_t m_control = 0;
};

} // namespace gateway::dicom_helper::scp
