#include "dicom_helper/jpeg_ls/encoder.h"

#include "dicom_helper/jpeg_ls/checker.h"
#include "dicom_helper/jpeg_ls/testing/images.h"
#include "dicom_helper/jpeg_ls/testing/peers.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::jpeg_ls::testing {

namespace {

using Bytes = std::vector<std::byte>;

constexpr unsigned kSeed = 20221;

/// The forms of encoder and checker that this machine can run.
std::vector<Instructions> forms()
{
    std::vector<Instructions> all{Instructions::baseline};
    if (bestInstructions() != Instructions::baseline) {
        all.push_back(bestInstructions());
    }
    return all;
}

Bytes encoded(Instructions form, const ImageShape &shape, const Bytes &image)
{
    Bytes stream(3 * image.size() + 4096);
    Encoder encoder(form);
    stream.resize(encoder.encode(shape, image, stream).value_or(0));
    return stream;
}

/// Every codable combination of components and interleave.
std::vector<ImageShape> shapes(std::uint32_t columns, std::uint32_t rows, unsigned precision)
{
    return {{columns, rows, 1, precision, Interleave::none},
            {columns, rows, 3, precision, Interleave::line},
            {columns, rows, 3, precision, Interleave::sample}};
}

void expectSameAsCharls(const ImageShape &shape, const Bytes &image)
{
    const Bytes wanted = encodedByCharls(shape, image);
    ASSERT_EQ(decodedByCharls(wanted), image);
    for (const Instructions form : forms()) {
        ASSERT_TRUE(encoded(form, shape, image) == wanted)
            << "form " << static_cast<int>(form) << ", " << shape.columns << " x " << shape.rows << ", "
            << shape.precision << " bits, " << shape.components << " components, interleave "
            << static_cast<int>(shape.interleave);
        ASSERT_TRUE(Checker(form).carries(shape, image, wanted)) << "form " << static_cast<int>(form);
    }
}

} // namespace

TEST(JpegLsEncoder, GivesTheBytesOfCharlsForEveryDepthPatternAndInterleave)
{
    std::mt19937 random(kSeed);
    for (unsigned precision = 2; precision <= 16; ++precision) {
        for (const ImageShape &shape : shapes(67, 29, precision)) {
            for (const Pattern pattern : kPatterns) {
                SCOPED_TRACE(static_cast<int>(pattern));
                expectSameAsCharls(shape, image(shape, pattern, random));
            }
        }
    }
}

TEST(JpegLsEncoder, GivesTheBytesOfCharlsForEverySmallSize)
{
    std::mt19937 random(kSeed);
    for (std::uint32_t columns = 1; columns <= 35; ++columns) {
        for (const std::uint32_t rows : {1U, 2U, 5U}) {
            for (const unsigned precision : {8U, 12U, 16U}) {
                for (const ImageShape &shape : shapes(columns, rows, precision)) {
                    expectSameAsCharls(shape, image(shape, Pattern::flats, random));
                    expectSameAsCharls(shape, image(shape, Pattern::smooth, random));
                }
            }
        }
    }
}

TEST(JpegLsEncoder, GivesTheBytesOfCharlsForOneColumnOneRowAndTheLargestSizes)
{
    std::mt19937 random(kSeed);
    for (const auto &[columns, rows] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {1, 65535}, {65535, 1}, {65535, 3}, {700, 900}}) {
        for (const unsigned precision : {8U, 16U}) {
            for (const Pattern pattern : {Pattern::constant, Pattern::flats, Pattern::noise}) {
                const ImageShape shape{columns, rows, 1, precision, Interleave::none};
                expectSameAsCharls(shape, image(shape, pattern, random));
            }
        }
    }
}

TEST(JpegLsEncoder, GivesTheBytesOfCharlsOfImagesThatAreCodedInSeveralPieces)
{
    std::mt19937 random(kSeed);
    for (const unsigned precision : {8U, 16U}) {
        for (const ImageShape &shape : shapes(217, 203, precision)) {
            for (const Pattern pattern :
                 {Pattern::ramp, Pattern::smooth, Pattern::flats, Pattern::extremes}) {
                SCOPED_TRACE(static_cast<int>(pattern));
                expectSameAsCharls(shape, image(shape, pattern, random));
            }
        }
    }
}

TEST(JpegLsEncoder, StopsWhereThereIsNoRoom)
{
    std::mt19937 random(kSeed);
    const ImageShape shape{.columns = 60, .rows = 40, .precision = 12};
    const Bytes original = image(shape, Pattern::smooth, random);
    const Bytes wanted = encodedByCharls(shape, original);
    Encoder encoder;
    for (std::size_t room = 0; room <= wanted.size() + 2; ++room) {
        Bytes stream(room);

        const auto size = encoder.encode(shape, original, stream);

        ASSERT_EQ(size.has_value(), room >= wanted.size()) << room;
        if (size) {
            stream.resize(*size);
            EXPECT_TRUE(stream == wanted);
        }
    }
}

TEST(JpegLsEncoder, RefusesWhatItCannotCode)
{
    Encoder encoder;
    Bytes stream(10'000);
    const auto refuses = [&](const ImageShape &shape, std::size_t size) {
        EXPECT_THROW(encoder.encode(shape, Bytes(size), stream), ImageError);
    };
    refuses({.columns = 4, .rows = 4}, 15);
    refuses({.columns = 0, .rows = 4}, 0);
    refuses({.columns = 4, .rows = 65536}, std::size_t{4} * 65536);
    refuses({.columns = 4, .rows = 4, .precision = 1}, 16);
    refuses({.columns = 4, .rows = 4, .precision = 17}, 32);
    refuses({.columns = 4, .rows = 4, .components = 2}, 32);
    refuses({.columns = 4, .rows = 4, .components = 3}, 48);
    refuses({.columns = 4, .rows = 4, .components = 1, .interleave = Interleave::line}, 16);

    Bytes tooWide(32);
    tooWide[31] = std::byte{0x10};
    EXPECT_THROW(encoder.encode({.columns = 4, .rows = 4, .precision = 12}, tooWide, stream), ImageError);
    EXPECT_TRUE(encoder.encode({.columns = 4, .rows = 4, .precision = 13}, tooWide, stream));
}

TEST(JpegLsEncoder, KeepsNothingOfTheImageBefore)
{
    std::mt19937 random(kSeed);
    Encoder encoder;
    for (const unsigned precision : {16U, 8U, 12U, 16U}) {
        for (const ImageShape &shape : shapes(precision * 3, 50 - precision, precision)) {
            const Bytes original = image(shape, Pattern::noise, random);
            Bytes stream(3 * original.size());
            stream.resize(encoder.encode(shape, original, stream).value_or(0));
            EXPECT_TRUE(stream == encodedByCharls(shape, original));
        }
    }
}

} // namespace gateway::dicom_helper::jpeg_ls::testing
