#include "dicom_helper/jpeg_ls/checker.h"

#include "dicom_helper/jpeg_ls/testing/images.h"
#include "dicom_helper/jpeg_ls/testing/peers.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::jpeg_ls::testing {

namespace {

using Bytes = std::vector<std::byte>;

constexpr unsigned kSeed = 551;

struct Sample
{
    ImageShape shape;
    Bytes image;
    Bytes stream;
};

std::vector<Sample> samples()
{
    std::mt19937 random(kSeed);
    std::vector<Sample> all;
    for (const unsigned precision : {2U, 5U, 8U, 12U, 14U, 16U}) {
        for (const auto &[components, interleave] : std::vector<std::pair<unsigned, Interleave>>{
                 {1U, Interleave::none}, {3U, Interleave::line}, {3U, Interleave::sample}}) {
            for (const Pattern pattern :
                 {Pattern::smooth, Pattern::flats, Pattern::noise, Pattern::constant}) {
                const ImageShape shape{13, 11, components, precision, interleave};
                Bytes original = image(shape, pattern, random);
                Bytes stream = encodedByCharls(shape, original);
                all.push_back({shape, std::move(original), std::move(stream)});
            }
        }
    }
    return all;
}

std::string said(const Sample &of, std::size_t at)
{
    return std::to_string(of.shape.precision) + " bits, interleave " +
           std::to_string(static_cast<int>(of.shape.interleave)) + ", at " + std::to_string(at) + " of " +
           std::to_string(of.stream.size());
}

/// Whether the checker takes the sample as it is, and rejects it with any one bit of `flipped` turned, which
/// is a part of it.
::testing::AssertionResult rejectsEachFlip(const Sample &of, Bytes &flipped, Instructions form)
{
    Checker checker(form);
    if (!checker.carries(of.shape, of.image, of.stream)) {
        return ::testing::AssertionFailure() << "the sample itself is rejected: " << said(of, 0);
    }
    for (std::size_t bit = 0; bit < flipped.size() * 8; ++bit) {
        const auto mask = static_cast<std::byte>(1U << (bit % 8));
        flipped[bit / 8] ^= mask;
        if (checker.carries(of.shape, of.image, of.stream)) {
            return ::testing::AssertionFailure() << said(of, bit / 8);
        }
        flipped[bit / 8] ^= mask;
    }
    return ::testing::AssertionSuccess();
}

} // namespace

TEST(JpegLsChecker, RejectsEveryFlippedBitOfTheStream)
{
    for (Sample &of : samples()) {
        ASSERT_TRUE(rejectsEachFlip(of, of.stream, Instructions::baseline));
        ASSERT_TRUE(rejectsEachFlip(of, of.stream, bestInstructions()));
    }
}

TEST(JpegLsChecker, RejectsFlippedBitsOfStreamsThatAreReadInSeveralPieces)
{
    std::mt19937 random(kSeed);
    for (const Interleave interleave : {Interleave::line, Interleave::sample}) {
        for (const Pattern pattern : {Pattern::smooth, Pattern::flats}) {
            const ImageShape shape{201, 199, 3, 12, interleave};
            Sample of{shape, image(shape, pattern, random), {}};
            of.stream = encodedByCharls(shape, of.image);
            Checker checker;
            ASSERT_TRUE(checker.carries(of.shape, of.image, of.stream));
            for (std::size_t bit = 0; bit < of.stream.size() * 8; bit += 1009) {
                const auto mask = static_cast<std::byte>(1U << (bit % 8));
                of.stream[bit / 8] ^= mask;
                ASSERT_FALSE(checker.carries(of.shape, of.image, of.stream)) << said(of, bit / 8);
                of.stream[bit / 8] ^= mask;
            }
        }
    }
}

TEST(JpegLsChecker, RejectsEveryFlippedBitOfTheImage)
{
    for (Sample &of : samples()) {
        ASSERT_TRUE(rejectsEachFlip(of, of.image, bestInstructions()));
    }
}

TEST(JpegLsChecker, RejectsEveryCutAndWhatStandsBehind)
{
    Checker checker;
    for (Sample &of : samples()) {
        for (std::size_t size = 0; size < of.stream.size(); ++size) {
            ASSERT_FALSE(checker.carries(of.shape, of.image, std::span(of.stream).first(size)))
                << said(of, size);
        }
        of.stream.push_back(std::byte{0});
        EXPECT_FALSE(checker.carries(of.shape, of.image, of.stream)) << said(of, 0);
    }
}

TEST(JpegLsChecker, RejectsALostAndARepeatedByte)
{
    Checker checker;
    for (const Sample &of : samples()) {
        for (std::size_t at = 0; at < of.stream.size(); ++at) {
            Bytes lost = of.stream;
            lost.erase(lost.begin() + static_cast<std::ptrdiff_t>(at));
            ASSERT_FALSE(checker.carries(of.shape, of.image, lost)) << said(of, at);
            Bytes repeated = of.stream;
            repeated.insert(repeated.begin() + static_cast<std::ptrdiff_t>(at), of.stream[at]);
            ASSERT_FALSE(checker.carries(of.shape, of.image, repeated)) << said(of, at);
        }
    }
}

TEST(JpegLsChecker, RejectsTheStreamOfAnotherShape)
{
    Checker checker;
    for (const Sample &of : samples()) {
        ImageShape other = of.shape;
        std::swap(other.columns, other.rows);
        EXPECT_FALSE(checker.carries(other, of.image, of.stream));
        other = of.shape;
        other.precision += 1;
        EXPECT_FALSE(checker.carries(other, of.image, of.stream));
        if (of.shape.components == 3) {
            other = of.shape;
            other.interleave = other.interleave == Interleave::line ? Interleave::sample : Interleave::line;
            EXPECT_FALSE(checker.carries(other, of.image, of.stream));
        }
    }
}

TEST(JpegLsChecker, NeverAcceptsWhatCharlsDecodesToSomethingElse)
{
    std::mt19937 random(kSeed);
    Checker checker;
    for (const Sample &of : samples()) {
        for (int round = 0; round < 60; ++round) {
            Bytes changed = of.stream;
            for (unsigned i = 0; i <= random() % 4; ++i) {
                changed[random() % changed.size()] = static_cast<std::byte>(random() & 0xFFU);
            }
            if (checker.carries(of.shape, of.image, changed)) {
                ASSERT_EQ(decodedByCharls(changed), of.image);
            }
        }
    }
}

} // namespace gateway::dicom_helper::jpeg_ls::testing
