#include "state/upload_speed.h"

#include <cmath>

namespace gateway::state {

namespace {

constexpr double kWeightOfFigure = 0.65;
constexpr double kWeightOfSample = 0.35;
constexpr double kBitsOfAByte = 8;
constexpr double kBitsOfAMegabit = 1'000'000;

// A figure that moved more often could not be read.
constexpr std::chrono::milliseconds kUpdateInterval{1200};

} // namespace

UploadSpeed::Sample
UploadSpeed::take(qint64 bytes, std::chrono::duration<double> elapsed, std::chrono::nanoseconds now)
{
    if (bytes < 1 || !(elapsed.count() > 0)) {
        return Sample::none;
    }
    const double sample = static_cast<double>(bytes) * kBitsOfAByte / elapsed.count() / kBitsOfAMegabit;
    if (!std::isfinite(sample) || sample <= 0) {
        return Sample::none;
    }
    if (m_mbps > 0 && m_lastUpdateAt && now - *m_lastUpdateAt < kUpdateInterval) {
        return Sample::held;
    }
    m_mbps = m_mbps > 0 ? m_mbps * kWeightOfFigure + sample * kWeightOfSample : sample;
    m_lastUpdateAt = now;
    return Sample::shown;
}

void UploadSpeed::reset()
{
    m_mbps = 0;
    m_lastUpdateAt.reset();
}

} // namespace gateway::state
