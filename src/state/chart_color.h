#pragma once

namespace gateway::state {

/// The named colours of the platform that the chart uses; the theme gives their values.
enum class ChartColor
{
    blue, ///< received
    green ///< sent
};

} // namespace gateway::state
