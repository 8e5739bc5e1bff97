#include "dicom_helper/worker/byte_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>

namespace gateway::dicom_helper::worker {

namespace {

/// Holds the header of nearly every CT or MR file; a larger one would only cost more copying.
constexpr std::size_t kFileWindow = std::size_t{16} * 1024;

constexpr std::size_t kInflatedWindow = std::size_t{128} * 1024;
/// More bytes behind a stream's end than padding and a line's end are those of a file that was cut and filled
/// up: a few zeros can end a stream anywhere.
constexpr std::uint64_t kMostBehindStream = 7;

constexpr std::size_t kPackedPiece = std::size_t{32} * 1024;
constexpr std::uint64_t kGreatestDeflateRatio = 1032;

std::size_t copyOut(std::span<const std::byte> from, std::uint64_t at, std::span<std::byte> to)
{
    if (at >= from.size()) {
        return 0;
    }
    const std::size_t count = std::min<std::size_t>(to.size(), from.size() - static_cast<std::size_t>(at));
    std::memcpy(to.data(), from.data() + at, count);
    return count;
}

} // namespace

std::string ByteSource::text(std::uint64_t offset, std::size_t limit)
{
    std::string bytes(limit, '\0');
    bytes.resize(read(offset, std::as_writable_bytes(std::span(bytes))));
    return bytes;
}

std::unique_ptr<FileBytes> FileBytes::open(const std::string &path)
{
    // Not blocking, so that a named pipe in a folder of files can't hold the worker.
    platform::Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!descriptor.isOpen()) {
        // A socket or a device without a driver can't be opened at all.
        if (errno == ENXIO || errno == ENODEV) {
            return nullptr;
        }
        throw ReadError(errno);
    }
    struct stat about = {};
    if (::fstat(descriptor.get(), &about) != 0) {
        throw ReadError(errno);
    }
    if (!S_ISREG(about.st_mode)) {
        return nullptr;
    }
    std::unique_ptr<FileBytes> file(new FileBytes(std::move(descriptor)));
    file->m_size = static_cast<std::uint64_t>(about.st_size);
    return file;
}

/// \param needed  how many of the bytes matter; trouble behind them is left for whoever needs those.
std::size_t FileBytes::readFile(std::uint64_t offset, std::span<std::byte> to, std::size_t needed) const
{
    std::size_t filled = 0;
    while (filled < to.size()) {
        const ssize_t got = ::pread(
            m_descriptor.get(), to.data() + filled, to.size() - filled, static_cast<off_t>(offset + filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && filled < needed) {
            throw ReadError(errno);
        }
        if (got <= 0) {
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    // A file that ends before its size has lost bytes on the way here: nobody writes to it any more.
    if (filled < needed && offset + filled < m_size) {
        throw ReadError(EIO);
    }
    return filled;
}

std::size_t FileBytes::read(std::uint64_t offset, std::span<std::byte> to)
{
    if (offset >= m_size) {
        return 0;
    }
    if (to.size() >= kFileWindow) {
        return readFile(offset, to, to.size());
    }
    const bool inside = offset >= m_windowOffset && offset + to.size() <= m_windowOffset + m_windowFill;
    if (!inside) {
        m_window.resize(kFileWindow);
        m_windowFill = 0;
        m_windowOffset = offset;
        m_windowFill = readFile(offset, m_window, to.size());
    }
    return copyOut(std::span(m_window).first(m_windowFill), offset - m_windowOffset, to);
}

std::size_t MemoryBytes::read(std::uint64_t offset, std::span<std::byte> to)
{
    return copyOut(m_bytes, offset, to);
}

/// The zlib state together with the packed bytes that it is being fed.
class InflatedBytes::Stream
{
public:
    Stream() : m_piece(kPackedPiece)
    {
        if (::inflateInit2(&m_zlib, -MAX_WBITS) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Stream() { ::inflateEnd(&m_zlib); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    /// \return zlib's verdict; `produced` tells how much of `to` was filled.
    int inflateInto(std::span<std::byte> to, std::size_t &produced, ByteSource &packed, std::uint64_t &offset)
    {
        if (m_zlib.avail_in == 0) {
            const std::size_t got = packed.read(offset, m_piece);
            offset += got;
            m_zlib.next_in = reinterpret_cast<Bytef *>(m_piece.data());
            m_zlib.avail_in = static_cast<uInt>(got);
            if (got == 0) {
                produced = 0;
                return Z_BUF_ERROR;
            }
        }
        m_zlib.next_out = reinterpret_cast<Bytef *>(to.data());
        m_zlib.avail_out = static_cast<uInt>(to.size());
        const int verdict = ::inflate(&m_zlib, Z_NO_FLUSH);
        produced = to.size() - m_zlib.avail_out;
        return verdict;
    }

    /// How many bytes it was fed and left alone, its regular end being before them.
    std::size_t unused() const { return m_zlib.avail_in; }

private:
    z_stream m_zlib = {};
    std::vector<std::byte> m_piece;
};

InflatedBytes::InflatedBytes(ByteSource &packed, std::uint64_t packedOffset, std::uint64_t limit)
    : m_packed(packed), m_packedOffset(packedOffset), m_limit(limit), m_stream(std::make_unique<Stream>())
{
    const std::uint64_t left = packed.size() > packedOffset ? packed.size() - packedOffset : 0;
    m_bound = left > UINT64_MAX / kGreatestDeflateRatio ? UINT64_MAX : left * kGreatestDeflateRatio;
}

InflatedBytes::~InflatedBytes() = default;

/// Adds a piece to the window, letting go of its older half when it is full.
bool InflatedBytes::inflateMore()
{
    if (m_finished) {
        return false;
    }
    if (m_window.size() >= kInflatedWindow) {
        const auto half = static_cast<std::ptrdiff_t>(m_window.size() / 2);
        m_window.erase(m_window.begin(), m_window.begin() + half);
        m_windowOffset += static_cast<std::uint64_t>(half);
    }
    const std::uint64_t soFar = m_windowOffset + m_window.size();
    if (soFar >= m_limit) {
        m_finished = true;
        return false;
    }
    const std::size_t before = m_window.size();
    const std::size_t room = static_cast<std::size_t>(std::min<std::uint64_t>(kPackedPiece, m_limit - soFar));
    m_window.resize(before + room);
    std::size_t produced = 0;
    const int verdict =
        m_stream->inflateInto(std::span(m_window).subspan(before), produced, m_packed, m_packedOffset);
    m_window.resize(before + produced);
    const std::uint64_t fed = std::min(m_packedOffset, m_packed.size());
    const std::uint64_t behind = m_stream->unused() + m_packed.size() - fed;
    m_endedWell = verdict == Z_STREAM_END && behind <= kMostBehindStream;
    m_finished = verdict != Z_OK;
    return produced > 0 || !m_finished;
}

std::size_t InflatedBytes::read(std::uint64_t offset, std::span<std::byte> to)
{
    std::size_t filled = 0;
    while (filled < to.size()) {
        const std::uint64_t at = offset + filled;
        if (at < m_windowOffset) {
            break;
        }
        filled += copyOut(m_window, at - m_windowOffset, to.subspan(filled));
        if (filled < to.size() && !inflateMore()) {
            break;
        }
    }
    return filled;
}

} // namespace gateway::dicom_helper::worker
