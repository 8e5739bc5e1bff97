#pragma once

#include "dicom_helper/worker/frame_codec.h"
#include "platform/dicom_protocol/record.h"

#include <functional>
#include <string>

namespace gateway::dicom_helper::worker {

/// Makes the JPEG-LS lossless form of an object, and proves that it is the same object.
///
/// Native grey and colour pixel data is encoded frame by frame, so that memory holds one frame whatever the
/// object's size. The finished file is then read back: every frame is decoded and compared with the source
/// bit for bit, and so is every attribute. Owner: the worker. Thread: its only one.
class Converter
{
public:
    /// \param codec      borrowed; outlives this.
    /// \param abandoned  asked between frames; true when nobody waits for the result any more.
    explicit Converter(FrameCodec &codec, std::function<bool()> abandoned = [] { return false; });

    /// The answer to a convert job.
    ///
    /// \param output  is created; it must not exist. It is gone again unless it is the answer.
    /// \return `converted` with `output`, or with `path` where nothing is to convert: the object is
    /// compressed,
    ///         has no pixel data, has some that JPEG-LS can't carry exactly, or wouldn't get smaller.
    ///         `failed` with a message where there is any doubt. \throws ReadError, std::bad_alloc
    platform::dicom_protocol::Record convert(const std::string &path, const std::string &output);

private:
    FrameCodec &m_codec;
    std::function<bool()> m_abandoned;
};

} // namespace gateway::dicom_helper::worker
