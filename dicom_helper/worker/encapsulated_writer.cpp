#include "dicom_helper/worker/encapsulated_writer.h"

#include <unistd.h>

#include <cerrno>

namespace gateway::dicom_helper::worker {

namespace {

void append(std::vector<std::byte> &bytes, std::uint32_t value)
{
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::byte>((value >> shift) & 0xFFU));
    }
}

std::vector<std::byte> itemHeader(std::uint32_t length)
{
    std::vector<std::byte> header{std::byte{0xFE}, std::byte{0xFF}, std::byte{0x00}, std::byte{0xE0}};
    append(header, length);
    return header;
}

} // namespace

EncapsulatedWriter::EncapsulatedWriter(int descriptor, std::uint64_t frames) : m_descriptor(descriptor)
{
    std::vector<std::byte> bytes{std::byte{0xE0},
                                 std::byte{0x7F},
                                 std::byte{0x10},
                                 std::byte{0x00},
                                 std::byte{'O'},
                                 std::byte{'B'},
                                 std::byte{0x00},
                                 std::byte{0x00}};
    append(bytes, 0xFFFFFFFFU);
    const std::vector<std::byte> table = itemHeader(static_cast<std::uint32_t>(frames * 4));
    bytes.insert(bytes.end(), table.begin(), table.end());
    write(bytes);
    const off_t here = ::lseek(descriptor, 0, SEEK_CUR);
    if (here < 0) {
        throw WriteError("the output can't be written");
    }
    m_tableAt = static_cast<std::uint64_t>(here);
    write(std::vector<std::byte>(static_cast<std::size_t>(frames) * 4));
    m_offsets.reserve(static_cast<std::size_t>(frames));
}

void EncapsulatedWriter::add(std::span<const std::byte> encodedFrame)
{
    if (m_bytes > UINT32_MAX || encodedFrame.size() > UINT32_MAX - 1) {
        throw WriteError("the frames don't fit an offset table");
    }
    m_offsets.push_back(static_cast<std::uint32_t>(m_bytes));
    const std::size_t padding = encodedFrame.size() % 2;
    const std::vector<std::byte> header =
        itemHeader(static_cast<std::uint32_t>(encodedFrame.size() + padding));
    write(header);
    write(encodedFrame);
    write(std::vector<std::byte>(padding));
    m_bytes += header.size() + encodedFrame.size() + padding;
}

void EncapsulatedWriter::finish()
{
    std::vector<std::byte> bytes{std::byte{0xFE}, std::byte{0xFF}, std::byte{0xDD}, std::byte{0xE0}};
    append(bytes, 0);
    write(bytes);
    std::vector<std::byte> table;
    table.reserve(m_offsets.size() * 4);
    for (const std::uint32_t offset : m_offsets) {
        append(table, offset);
    }
    std::size_t done = 0;
    while (done < table.size()) {
        const ssize_t wrote =
            ::pwrite(m_descriptor, &table[done], table.size() - done, static_cast<off_t>(m_tableAt + done));
        if (wrote < 0 && errno == EINTR) {
            continue;
        }
        if (wrote <= 0) {
            throw WriteError("the output can't be written");
        }
        done += static_cast<std::size_t>(wrote);
    }
}

void EncapsulatedWriter::write(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t wrote = ::write(m_descriptor, bytes.data(), bytes.size());
        if (wrote < 0 && errno == EINTR) {
            continue;
        }
        if (wrote <= 0) {
            throw WriteError("the output can't be written");
        }
        bytes = bytes.subspan(static_cast<std::size_t>(wrote));
    }
}

} // namespace gateway::dicom_helper::worker
