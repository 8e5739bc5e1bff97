#include "dicom_helper/worker/element_scanner.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

namespace {

constexpr Tag kSequence = 0x00081115U;
constexpr Tag kInner = 0x00081155U;

struct Walk
{
    std::vector<Tag> tags;
    ScanEnd end = ScanEnd::running;
    unsigned deepest = 0;
};

Walk walk(const std::string &bytes, DatasetEncoding encoding = {}, ElementScanner::Options options = {})
{
    MemoryBytes source(std::as_bytes(std::span(bytes)));
    ElementScanner scanner(source, 0, encoding, options);
    Walk result;
    while (const auto element = scanner.next()) {
        result.tags.push_back(element->tag);
        result.deepest = std::max(result.deepest, element->depth);
    }
    result.end = scanner.end();
    return result;
}

std::string nested(unsigned levels, bool undefinedLength)
{
    DatasetWriter inner;
    inner.text(kInner, "UI", "1.2");
    for (unsigned i = 0; i < levels; ++i) {
        DatasetWriter outer;
        outer.sequence(kSequence, inner, undefinedLength);
        inner = outer;
    }
    return inner.all();
}

} // namespace

TEST(ElementScanner, WalksAllEncodings)
{
    for (const DatasetEncoding encoding :
         {DatasetEncoding{true, false}, DatasetEncoding{false, false}, DatasetEncoding{true, true}}) {
        for (const bool undefined : {true, false}) {
            DatasetWriter item(encoding);
            item.text(kInner, "UI", "1.2");
            DatasetWriter dataset(encoding);
            dataset.text(0x00080016U, "UI", "1.2.3")
                .sequence(kSequence, item, undefined)
                .number(0x00280010U, 7);

            const Walk result = walk(dataset.all(), encoding);

            EXPECT_EQ(result.tags, (std::vector<Tag>{0x00080016U, kSequence, kInner, 0x00280010U}));
            EXPECT_EQ(result.end, ScanEnd::atEnd);
            EXPECT_EQ(result.deepest, 1U);
        }
    }
}

TEST(ElementScanner, StepsOverSequencesOfKnownLengthWhereToldSo)
{
    const Walk result = walk(nested(3, false), {}, {.intoDefinedLength = false});

    EXPECT_EQ(result.tags, std::vector<Tag>{kSequence});
    EXPECT_EQ(result.end, ScanEnd::atEnd);
}

TEST(ElementScanner, TakesNestingUpToTheLimitAndNoFurther)
{
    for (const bool undefined : {true, false}) {
        EXPECT_EQ(walk(nested(64, undefined)).end, ScanEnd::atEnd);
        EXPECT_EQ(walk(nested(65, undefined)).end, ScanEnd::tooDeep);
    }
}

TEST(ElementScanner, FiftyThousandNestedSequencesCostNoStack)
{
    std::string bytes;
    DatasetWriter opening;
    opening.header(kSequence, vr('S', 'Q'), kUndefinedLength).header(0xFFFEE000U, 0, kUndefinedLength);
    for (int i = 0; i < 50'000; ++i) {
        bytes += opening.all();
    }

    EXPECT_EQ(walk(bytes).end, ScanEnd::tooDeep);
    const Walk deep = walk(bytes, {}, {.deepest = 100'000});
    EXPECT_EQ(deep.end, ScanEnd::truncated);
    EXPECT_EQ(deep.tags.size(), 50'000U);
}

TEST(ElementScanner, StepsOverEncapsulatedPixelDataAlsoInsideSequences)
{
    DatasetWriter icon;
    icon.fragments({"ab", "cdef"});
    DatasetWriter dataset;
    dataset.sequence(0x00880200U, icon, true).fragments({"xx"}).text(0xFFFCFFFCU, "OB", "00");

    const Walk result = walk(dataset.all());

    EXPECT_EQ(result.tags, (std::vector<Tag>{0x00880200U, kPixelData, kPixelData, 0xFFFCFFFCU}));
    EXPECT_EQ(result.end, ScanEnd::atEnd);
}

TEST(ElementScanner, ReadsTheItemsOfUnknownElementsAsImplicit)
{
    DatasetWriter item(DatasetEncoding{false, false});
    item.text(kInner, "UI", "1.2");
    DatasetWriter dataset;
    dataset.header(0x00091001U, vr('U', 'N'), kUndefinedLength)
        .header(0xFFFEE000U, 0, kUndefinedLength)
        .bytes(item.all())
        .header(0xFFFEE00DU, 0, 0)
        .header(0xFFFEE0DDU, 0, 0)
        .number(0x00280010U, 7);

    const Walk result = walk(dataset.all());

    EXPECT_EQ(result.tags, (std::vector<Tag>{0x00091001U, kInner, 0x00280010U}));
    EXPECT_EQ(result.end, ScanEnd::atEnd);
}

TEST(ElementScanner, ReportsItemsWhereToldSo)
{
    const std::string inner = DatasetWriter().text(kInner, "UI", "1.2").all();
    for (const bool undefined : {true, false}) {
        DatasetWriter dataset;
        dataset.items(kSequence, {inner, ""}, undefined).fragments({"xx"});

        const Walk result = walk(dataset.all(), {}, {.reportItems = true});

        EXPECT_EQ(result.tags, (std::vector<Tag>{kSequence, kItem, kInner, kItem, kPixelData}));
        EXPECT_EQ(result.end, ScanEnd::atEnd);
    }
}

TEST(ElementScanner, WalksThroughUnknownElementsOfKnownLengthWhereToldSo)
{
    const DatasetEncoding implicitly{false, false};
    const std::string inner = DatasetWriter(implicitly).text(kInner, "UI", "1.2").all();
    const std::string sequence = DatasetWriter(implicitly).items(0x00091001U, {inner}, false).all();
    DatasetWriter dataset;
    dataset.raw(0x00091001U, vr('U', 'N'), sequence.substr(8)).raw(0x00091002U, vr('U', 'N'), "plain bytes.");

    const Walk result = walk(dataset.all(), {}, {.intoUnknown = true});

    EXPECT_EQ(result.tags, (std::vector<Tag>{0x00091001U, kInner, 0x00091002U}));
    EXPECT_EQ(result.end, ScanEnd::atEnd);
    EXPECT_EQ(walk(dataset.all()).tags, (std::vector<Tag>{0x00091001U, 0x00091002U}));
}

TEST(ElementScanner, SeesLengthsThatContradictEachOther)
{
    const auto isConsistent = [](const std::string &bytes) {
        MemoryBytes source(std::as_bytes(std::span(bytes)));
        ElementScanner scanner(source, 0, {}, {});
        while (scanner.next()) {
        }
        EXPECT_EQ(scanner.end(), ScanEnd::atEnd);
        return scanner.isConsistent();
    };
    const std::string inner = DatasetWriter().text(kInner, "UI", "1.2").all();
    const auto sequence = [&](std::uint32_t size, std::uint32_t ofItem, const std::string &item) {
        return DatasetWriter()
            .header(kSequence, vr('S', 'Q'), size)
            .header(kItem, 0, ofItem)
            .bytes(item)
            .all();
    };
    const std::string closed =
        inner + DatasetWriter().header(kItemDelimiter, 0, 0).header(kSequenceDelimiter, 0, 0).all();

    EXPECT_TRUE(isConsistent(sequence(20, 12, inner)));
    EXPECT_TRUE(isConsistent(sequence(kUndefinedLength, kUndefinedLength, closed)));
    EXPECT_FALSE(isConsistent(sequence(20, 10, inner)));
    EXPECT_FALSE(isConsistent(sequence(18, 12, inner)));
    EXPECT_FALSE(isConsistent(sequence(kUndefinedLength, 30, closed)));
    EXPECT_FALSE(isConsistent(sequence(60, kUndefinedLength, closed)));
}

TEST(ElementScanner, TellsAnOddTailFromACutElement)
{
    const std::string whole = DatasetWriter().number(0x00280010U, 7).all();

    EXPECT_EQ(walk(whole + std::string(7, '\0')).end, ScanEnd::atEnd);
    EXPECT_EQ(walk(whole + "1234567").end, ScanEnd::oddTail);
    EXPECT_EQ(walk(whole.substr(0, 9)).end, ScanEnd::truncated);
}

TEST(ElementScanner, EveryTruncationEndsWithoutReadingBeyond)
{
    const std::string whole = nested(2, true) + nested(2, false);

    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Walk result = walk(whole.substr(0, size));
        EXPECT_NE(result.end, ScanEnd::running);
        EXPECT_LE(result.tags.size(), 6U);
    }
    EXPECT_EQ(walk(whole.substr(0, whole.size() - 1)).end, ScanEnd::truncated);
}

TEST(ElementScanner, WhatIsNoElementIsMalformed)
{
    EXPECT_EQ(walk(std::string(64, '\x01')).end, ScanEnd::malformed);
    DatasetWriter itemOutside;
    itemOutside.header(0xFFFEE000U, 0, 0);
    EXPECT_EQ(walk(itemOutside.all()).end, ScanEnd::malformed);
}

TEST(ElementScanner, ReadsAnOddRepresentationWhereTheNextElementFits)
{
    constexpr Tag kPrivate = 0x00091010U;
    constexpr Tag kOther = 0x00091011U;
    constexpr Vr kOdd = vr('?', '?');
    for (const bool bigEndian : {false, true}) {
        const DatasetEncoding encoding{true, bigEndian};
        const std::string rows = DatasetWriter(encoding).number(0x00280010U, 7).all();
        const std::string odd = DatasetWriter(encoding).raw(kPrivate, kOdd, "abcd").all();
        const std::string another = DatasetWriter(encoding).raw(kOther, kOdd, "").all();

        EXPECT_EQ(walk(odd + rows, encoding).tags, (std::vector<Tag>{kPrivate, 0x00280010U}));
        EXPECT_EQ(walk(odd + another + rows, encoding).tags,
                  (std::vector<Tag>{kPrivate, kOther, 0x00280010U}));
        EXPECT_EQ(walk(odd, encoding).end, ScanEnd::atEnd);
        for (const bool undefined : {true, false}) {
            DatasetWriter dataset(encoding);
            dataset.items(kSequence, {odd, odd + another}, undefined).bytes(rows);
            const Walk result = walk(dataset.all(), encoding);
            EXPECT_EQ(result.tags, (std::vector<Tag>{kSequence, kPrivate, kPrivate, kOther, 0x00280010U}));
            EXPECT_EQ(result.end, ScanEnd::atEnd);
        }
        EXPECT_EQ(walk(another + odd + rows, encoding).end, ScanEnd::malformed) << "no higher one follows";
        EXPECT_EQ(walk(odd.substr(0, odd.size() - 1), encoding).end, ScanEnd::malformed);
    }
}

TEST(ElementScanner, StrayDelimitersAreSteppedOver)
{
    DatasetWriter dataset;
    dataset.header(0xFFFEE00DU, 0, 0).header(0xFFFEE0DDU, 0, 0).number(0x00280010U, 7);

    const Walk result = walk(dataset.all());

    EXPECT_EQ(result.tags, std::vector<Tag>{0x00280010U});
    EXPECT_EQ(result.end, ScanEnd::atEnd);
}

} // namespace gateway::dicom_helper::worker::testing
