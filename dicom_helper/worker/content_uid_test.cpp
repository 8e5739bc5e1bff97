#include "dicom_helper/worker/content_uid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace gateway::dicom_helper::worker {

namespace {

std::int64_t versionOf(const std::vector<std::byte> &bytes, std::string_view transferSyntax = "1.2")
{
    MemoryBytes file(bytes);
    return contentVersion(file, 0, transferSyntax);
}

std::vector<std::byte> ascending(std::size_t size)
{
    std::vector<std::byte> bytes(size);
    for (std::size_t at = 0; at < size; ++at) {
        bytes[at] = static_cast<std::byte>(at * 7 + at / 256);
    }
    return bytes;
}

} // namespace

TEST(ContentVersion, IsTheSameForTheSameBytesAndAnotherForAnyOther)
{
    constexpr std::size_t kPiece = 65536; // around which a file is read
    for (const std::size_t size : {std::size_t{1},
                                   std::size_t{8},
                                   std::size_t{31},
                                   std::size_t{32},
                                   std::size_t{75},
                                   kPiece,
                                   kPiece + 37}) {
        std::vector<std::byte> bytes = ascending(size);
        std::set<std::int64_t> seen{versionOf(bytes)};
        EXPECT_EQ(versionOf(bytes), *seen.begin());
        std::size_t versions = 1;
        for (std::size_t at = 0; at < size; at += std::max<std::size_t>(1, size / 100)) {
            bytes[at] ^= std::byte{1};
            seen.insert(versionOf(bytes));
            bytes[at] ^= std::byte{1};
            ++versions;
        }
        bytes.push_back(std::byte{0});
        seen.insert(versionOf(bytes));
        EXPECT_EQ(seen.size(), versions + 1) << size;
        EXPECT_GT(*seen.begin(), 0);
    }
}

TEST(ContentVersion, StaysWhatIndexesHaveKept)
{
    EXPECT_EQ(versionOf(ascending(75)), 2'997'704'700'077'741'040);
    EXPECT_EQ(versionOf(ascending(70'000)), 8'938'648'115'393'874'499);
}

TEST(ContentVersion, KnowsTheOrderOfEqualParts)
{
    const std::vector<std::byte> bytes = ascending(320);
    std::set<std::int64_t> seen{versionOf(bytes)};
    for (std::size_t at = 0; at + 16 <= bytes.size(); at += 8) {
        std::vector<std::byte> swapped = bytes;
        std::swap_ranges(swapped.begin() + static_cast<std::ptrdiff_t>(at),
                         swapped.begin() + static_cast<std::ptrdiff_t>(at) + 8,
                         swapped.begin() + static_cast<std::ptrdiff_t>(at) + 8);
        seen.insert(versionOf(swapped));
    }

    EXPECT_EQ(seen.size(), 40U);
}

TEST(ContentVersion, IsAnotherInAnotherTransferSyntaxAndFromAnotherPlaceOn)
{
    const std::vector<std::byte> bytes = ascending(320);
    MemoryBytes file(bytes);

    EXPECT_NE(versionOf(bytes, "1.2"), versionOf(bytes, "1.3"));
    EXPECT_NE(contentVersion(file, 0, "1.2"), contentVersion(file, 8, "1.2"));
}

} // namespace gateway::dicom_helper::worker
