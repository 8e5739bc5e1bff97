#include "dicom_helper/worker/fragment_reader.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace gateway::dicom_helper::worker::testing {

namespace {

/// The value of encapsulated pixel data with this offset table.
std::string pixelData(const std::vector<std::uint32_t> &table, const std::vector<std::string> &fragments)
{
    const std::string empty = DatasetWriter().fragments(fragments).all();
    constexpr std::size_t kElementHeader = 12;
    constexpr std::size_t kItemHeader = 8;
    DatasetWriter tableItem;
    tableItem.header(kItem, 0, static_cast<std::uint32_t>(table.size() * 4));
    for (const std::uint32_t entry : table) {
        for (const unsigned shift : {0U, 8U, 16U, 24U}) {
            tableItem.bytes(std::string(1, static_cast<char>((entry >> shift) & 0xFFU)));
        }
    }
    return tableItem.all() + empty.substr(kElementHeader + kItemHeader);
}

/// Reads `frames` frames, and what is behind them.
struct Reading
{
    Reading(const std::string &value, std::uint64_t frames)
        : source(std::as_bytes(std::span(value))), reader(source, 0, frames)
    {
    }

    std::string next()
    {
        const auto bytes = reader.next();
        return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
    }

    MemoryBytes source;
    FragmentReader reader;
};

} // namespace

TEST(FragmentReader, ReadsAFragmentAFrameUpToTheDelimiter)
{
    const std::string value = pixelData({0, 12}, {"one.", "second"});
    Reading reading(value, 2);

    EXPECT_EQ(reading.next(), "one.");
    EXPECT_FALSE(reading.reader.atEnd());
    EXPECT_EQ(reading.next(), "second");
    EXPECT_TRUE(reading.reader.atEnd());
}

TEST(FragmentReader, IsNotAtTheEndWhereOneMoreFragmentOrNothingStands)
{
    const std::string more = pixelData({0}, {"one.", "more"});
    Reading surplus(more, 1);
    surplus.next();
    EXPECT_FALSE(surplus.reader.atEnd());

    const std::string whole = pixelData({0}, {"one."});
    const std::string open = whole.substr(0, whole.size() - 8);
    Reading cut(open, 1);
    cut.next();
    EXPECT_FALSE(cut.reader.atEnd());
}

TEST(FragmentReader, RefusesATableThatHasNotAnEntryAFrame)
{
    for (const std::vector<std::uint32_t> &table : {std::vector<std::uint32_t>{}, {0}, {0, 12, 24}}) {
        const std::string value = pixelData(table, {"one.", "two."});
        EXPECT_THROW(Reading(value, 2), FragmentError) << table.size();
    }
    EXPECT_THROW(Reading("no item at all", 1), FragmentError);
    EXPECT_THROW(Reading("", 1), FragmentError);
}

TEST(FragmentReader, RefusesATableThatPointsElsewhere)
{
    const std::string value = pixelData({0, 14}, {"one.", "two."});
    Reading reading(value, 2);

    EXPECT_EQ(reading.next(), "one.");
    EXPECT_THROW(reading.next(), FragmentError);
}

TEST(FragmentReader, RefusesAFrameWithoutItsFragmentOrWithHalfOfIt)
{
    const std::string value = pixelData({0, 12}, {"one."});
    Reading missing(value, 2);
    missing.next();
    EXPECT_THROW(missing.next(), FragmentError);

    const std::string half = value.substr(0, value.size() - 10);
    Reading truncated(half, 2);
    EXPECT_THROW(truncated.next(), FragmentError);

    const std::string endless =
        pixelData({0}, {}).substr(0, 12) + DatasetWriter().header(kItem, 0, 0xFFFFFFF0U).all();
    Reading huge(endless, 1);
    EXPECT_THROW(huge.next(), FragmentError);
}

} // namespace gateway::dicom_helper::worker::testing
