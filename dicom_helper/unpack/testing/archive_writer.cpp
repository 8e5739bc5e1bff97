#include "dicom_helper/unpack/testing/archive_writer.h"

#include <zlib.h>

#include <stdexcept>

namespace gateway::dicom_helper::unpack::testing {

namespace {

std::string little(std::uint64_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>((value >> (8 * i)) & 0xff);
    }
    return text;
}

std::uint32_t sumOf(const std::string &bytes)
{
    return static_cast<std::uint32_t>(
        ::crc32(0, reinterpret_cast<const Bytef *>(bytes.data()), static_cast<uInt>(bytes.size())));
}

std::uint32_t sumOf(const SampleEntry &entry)
{
    return sumOf(entry.content) ^ (entry.hasWrongSum ? 1U : 0U);
}

std::string deflated(const std::string &content)
{
    z_stream stream{};
    if (::deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("a sample can't be packed");
    }
    std::string packed(::deflateBound(&stream, content.size()), '\0');
    std::string copy = content; // the interface wants it writable
    stream.next_in = reinterpret_cast<Bytef *>(copy.data());
    stream.avail_in = static_cast<uInt>(copy.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ::deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    ::deflateEnd(&stream);
    return packed;
}

/// A number of rar's version 5: seven bits a byte, the lowest first.
std::string vint(std::uint64_t value)
{
    std::string text;
    do {
        const bool isLast = value < 0x80;
        text += static_cast<char>((value & 0x7f) | (isLast ? 0 : 0x80));
        value >>= 7;
    } while (value != 0);
    return text;
}

/// A block of version 5: the sum and the size in front of the rest.
std::string block5(const std::string &rest)
{
    const std::string sized = vint(rest.size()) + rest;
    return little(sumOf(sized), 4) + sized;
}

/// A block of version 4: the low half of the sum in front of the rest.
std::string block4(const std::string &rest)
{
    return little(sumOf(rest) & 0xffff, 2) + rest;
}

} // namespace

std::string zipOf(const std::vector<SampleEntry> &entries)
{
    std::string files;
    std::string directory;
    for (const SampleEntry &entry : entries) {
        const std::string data = entry.isDeflated ? deflated(entry.content) : entry.content;
        const std::string common =
            little(entry.isEncrypted ? 1 : 0, 2) + little(entry.isDeflated ? 8 : 0, 2) + little(0, 4) +
            little(sumOf(entry), 4) + little(data.size(), 4) + little(entry.content.size(), 4) +
            little(entry.path.size(), 2) + little(0, 2);
        constexpr std::uint64_t kMadeOnUnix = 0x031e;
        directory += "PK\x01\x02" + little(kMadeOnUnix, 2) + little(20, 2) + common + little(0, 2) +
                     little(0, 2) + little(0, 2) + little(std::uint64_t{entry.mode} << 16, 4) +
                     little(files.size(), 4) + entry.path;
        files += "PK\x03\x04" + little(20, 2) + common + entry.path + data;
    }
    return files + directory + "PK\x05\x06" + little(0, 4) + little(entries.size(), 2) +
           little(entries.size(), 2) + little(directory.size(), 4) + little(files.size(), 4) + little(0, 2);
}

std::string rar4Of(const std::vector<SampleEntry> &entries)
{
    constexpr int kUnix = 3;
    std::string archive("Rar!\x1a\x07\x00", 7);
    archive += block4("\x73" + little(0, 2) + little(13, 2) + little(0, 6));
    for (const SampleEntry &entry : entries) {
        const std::uint64_t size = 32 + entry.path.size();
        archive += block4("\x74" + little(0x8000, 2) + little(size, 2) + little(entry.content.size(), 4) +
                          little(entry.content.size(), 4) + little(kUnix, 1) + little(sumOf(entry), 4) +
                          little(0, 4) + little(20, 1) + "\x30" + little(entry.path.size(), 2) +
                          little(entry.mode, 4) + entry.path);
        archive += entry.content;
    }
    return archive + block4("\x7b" + little(0x4000, 2) + little(7, 2));
}

std::string rar5Of(const std::vector<SampleEntry> &entries)
{
    constexpr std::uint64_t kMain = 1, kFile = 2, kEnd = 5, kHasData = 2, kHasSum = 4, kUnix = 1;
    std::string archive("Rar!\x1a\x07\x01\x00", 8);
    archive += block5(vint(kMain) + vint(0) + vint(0));
    for (const SampleEntry &entry : entries) {
        archive += block5(vint(kFile) + vint(kHasData) + vint(entry.content.size()) + vint(kHasSum) +
                          vint(entry.content.size()) + vint(entry.mode) + little(sumOf(entry), 4) + vint(0) +
                          vint(kUnix) + vint(entry.path.size()) + entry.path);
        archive += entry.content;
    }
    return archive + block5(vint(kEnd) + vint(0) + vint(0));
}

std::string encryptedRar5()
{
    constexpr std::uint64_t kEncryption = 4;
    const std::string salt(16, 's');
    return std::string("Rar!\x1a\x07\x01\x00", 8) +
           block5(vint(kEncryption) + vint(0) + vint(0) + vint(0) + little(15, 1) + salt) +
           std::string(64, 'x');
}

} // namespace gateway::dicom_helper::unpack::testing
