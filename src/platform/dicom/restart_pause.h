#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace gateway::platform {

/// How long to wait before a listener that ended by itself is started again: at first no sender should
/// notice, and one that ends again and again must not keep the machine busy.
///
/// Thread: a plain value.
class RestartPause
{
public:
    /// A listener that has listened for so long was well: what ends it now is something new.
    static constexpr std::chrono::seconds kWell{60};

    /// \param listened  for how long the one that has just ended was listening; 0 when it never did.
    std::chrono::milliseconds next(std::chrono::milliseconds listened)
    {
        if (listened >= kWell) {
            m_step = 0;
        }
        return kPauses[std::min(m_step++, kPauses.size() - 1)];
    }

private:
    static constexpr std::array<std::chrono::milliseconds, 6> kPauses{std::chrono::milliseconds(200),
                                                                      std::chrono::seconds(1),
                                                                      std::chrono::seconds(2),
                                                                      std::chrono::seconds(5),
                                                                      std::chrono::seconds(10),
                                                                      std::chrono::seconds(30)};

    std::size_t m_step = 0;
};

} // namespace gateway::platform
