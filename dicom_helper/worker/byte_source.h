#pragma once

#include "platform/descriptors/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace gateway::dicom_helper::worker {

/// The system could not give bytes that should be there. That says nothing about what the bytes are.
class ReadError final : public std::exception
{
public:
    /// \param code  errno, or what comes closest.
    explicit ReadError(int code) : m_code(code) {}

    int code() const { return m_code; }
    const char *what() const noexcept override { return "the file can't be read"; }

private:
    int m_code;
};

/// Bytes at offsets, from a file or from something that is unpacked on the way.
///
/// Owner: the job. Thread: the worker's only one.
class ByteSource
{
public:
    virtual ~ByteSource() = default;

    /// Fills `to` from `offset` on. \return how many bytes there were; fewer than asked for only at the end.
    /// \throws ReadError
    virtual std::size_t read(std::uint64_t offset, std::span<std::byte> to) = 0;

    /// An upper bound of the number of bytes; exact for a file.
    virtual std::uint64_t size() const = 0;

    /// Up to `limit` bytes from `offset` on, as a text.
    std::string text(std::uint64_t offset, std::size_t limit);
};

/// A regular file, read through a small window.
class FileBytes final : public ByteSource
{
public:
    /// Nothing when `path` isn't a regular file. \throws ReadError when it can't be opened, or not be asked
    static std::unique_ptr<FileBytes> open(const std::string &path);

    std::size_t read(std::uint64_t offset, std::span<std::byte> to) override;
    std::uint64_t size() const override { return m_size; }
    int descriptor() const { return m_descriptor.get(); }

private:
    explicit FileBytes(platform::Descriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    std::size_t readFile(std::uint64_t offset, std::span<std::byte> to, std::size_t needed) const;

    platform::Descriptor m_descriptor;
    std::uint64_t m_size = 0;
    std::vector<std::byte> m_window;
    std::uint64_t m_windowOffset = 0;
    std::size_t m_windowFill = 0;
};

/// Bytes in memory. Borrows them.
class MemoryBytes final : public ByteSource
{
public:
    explicit MemoryBytes(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    std::size_t read(std::uint64_t offset, std::span<std::byte> to) override;
    std::uint64_t size() const override { return m_bytes.size(); }

private:
    std::span<const std::byte> m_bytes;
};

/// The inflated form of the raw deflate stream that fills the rest of another source (PS3.5 A.5).
///
/// Offsets count inflated bytes. Reads may go back by at most a window; what lies farther back, beyond
/// `limit` or behind a damaged place reads as the end. Borrows the packed source.
class InflatedBytes final : public ByteSource
{
public:
    /// \param limit  the most bytes that are inflated: what a bomb may cost.
    InflatedBytes(ByteSource &packed, std::uint64_t packedOffset, std::uint64_t limit);
    ~InflatedBytes() override;

    InflatedBytes(const InflatedBytes &) = delete;
    InflatedBytes &operator=(const InflatedBytes &) = delete;

    std::size_t read(std::uint64_t offset, std::span<std::byte> to) override;

    /// Deflate packs at most 1032 to 1, so this is what the packed bytes can hold.
    std::uint64_t size() const override { return m_bound; }

    /// True when the stream was read to its regular end, and the file ends there but for a few bytes.
    bool endedWell() const { return m_endedWell; }

private:
    class Stream;

    bool inflateMore();

    ByteSource &m_packed;
    std::uint64_t m_packedOffset;
    std::uint64_t m_bound;
    std::uint64_t m_limit;
    std::unique_ptr<Stream> m_stream;
    std::vector<std::byte> m_window; // the newest inflated bytes
    std::uint64_t m_windowOffset = 0;
    bool m_finished = false;
    bool m_endedWell = false;
};

} // namespace gateway::dicom_helper::worker
