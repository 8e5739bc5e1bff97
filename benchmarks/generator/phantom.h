#pragma once

#include <cstdint>
#include <string>

namespace gateway::bench {

/// A small fast generator of random numbers with a fixed seed, so that the same call makes the same files.
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15ULL + 1) {}

    std::uint64_t next();

    /// About normally distributed, mean 0, standard deviation 1.
    double normal();

private:
    std::uint64_t m_state;
};

/// How one grey picture looks: smooth bright shapes on dark ground, with noise like a detector's.
struct PictureShape
{
    int columns;
    int rows;
    int bitsStored; ///< 8 to 16; one byte a pixel for 8, else two, little endian
    double noise;   ///< standard deviation inside the body, in grey values
    double phase;   ///< moves the shapes, so that slices and frames differ
};

/// The pixels of one grey picture, row by row.
std::string greyPicture(const PictureShape &shape, Random &random);

/// The pixels of one RGB picture with 8 bits a sample, interleaved by pixel.
std::string colourPicture(int columns, int rows, double phase, Random &random);

} // namespace gateway::bench
