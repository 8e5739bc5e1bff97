#include "benchmarks/generator/phantom.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace gateway::bench {

namespace {

/// Brightness between 0 and 1 of the phantom at a point, both coordinates from -1 to 1.
double brightness(double x, double y, double phase)
{
    const double body = x * x / 0.72 + y * y / 0.5;
    if (body > 1) {
        return 0.01;
    }
    double value = 0.42 + 0.08 * std::cos(3 * x + phase) * std::cos(2 * y - phase);
    for (int organ = 0; organ < 5; ++organ) {
        const double angle = phase * 0.3 + organ * 1.256;
        const double dx = x - 0.45 * std::cos(angle);
        const double dy = y - 0.35 * std::sin(angle);
        const double distance = (dx * dx + dy * dy) / 0.02;
        value += (organ % 2 == 0 ? 0.25 : -0.2) / (1 + std::pow(distance, 3));
    }
    const double rim = std::exp(-std::pow((body - 0.93) / 0.03, 2));
    return std::clamp(value + 0.4 * rim, 0.0, 1.0);
}

double coordinate(int index, int count)
{
    return 2.0 * index / count - 1.0;
}

} // namespace

std::uint64_t Random::next()
{
    m_state ^= m_state << 13U;
    m_state ^= m_state >> 7U;
    m_state ^= m_state << 17U;
    return m_state;
}

double Random::normal()
{
    // The sum of four uniform numbers is near enough to a detector's noise, and quick.
    const std::uint64_t bits = next();
    double sum = 0;
    for (unsigned part = 0; part < 4; ++part) {
        sum += static_cast<double>((bits >> (16 * part)) & 0xFFFFU) / 65535.0 - 0.5;
    }
    return sum * std::sqrt(3.0);
}

std::string greyPicture(const PictureShape &shape, Random &random)
{
    const int greatest = (1 << shape.bitsStored) - 1;
    const bool wide = shape.bitsStored > 8;
    std::string pixels;
    pixels.reserve(static_cast<std::size_t>(shape.columns) * static_cast<std::size_t>(shape.rows) *
                   (wide ? 2 : 1));
    for (int row = 0; row < shape.rows; ++row) {
        for (int column = 0; column < shape.columns; ++column) {
            const double bright =
                brightness(coordinate(column, shape.columns), coordinate(row, shape.rows), shape.phase);
            const double spread = bright < 0.02 ? shape.noise * 0.4 : shape.noise;
            const double value = bright * greatest * 0.9 + spread * random.normal();
            const auto grey =
                static_cast<unsigned>(std::clamp(static_cast<int>(std::lround(value)), 0, greatest));
            pixels.push_back(static_cast<char>(grey & 0xFFU));
            if (wide) {
                pixels.push_back(static_cast<char>(grey >> 8U));
            }
        }
    }
    return pixels;
}

std::string colourPicture(int columns, int rows, double phase, Random &random)
{
    std::string pixels;
    pixels.reserve(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * 3);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const double bright = brightness(coordinate(column, columns), coordinate(row, rows), phase);
            for (int sample = 0; sample < 3; ++sample) {
                const double tint = 0.6 + 0.2 * sample + 0.1 * std::sin(phase + sample + column * 0.01);
                const double value = 255 * bright * tint + 1.5 * random.normal();
                pixels.push_back(static_cast<char>(std::clamp(static_cast<int>(std::lround(value)), 0, 255)));
            }
        }
    }
    return pixels;
}

} // namespace gateway::bench
