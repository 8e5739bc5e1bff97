#pragma once

#include <memory>

namespace gateway::wizard {

/// Sees to it that setup is applied by one at a time, be it from a window or from the command line.
///
/// Owner: app. Thread: main.
class SetupTurn
{
public:
    using Hold = std::shared_ptr<const void>;

    SetupTurn() = default;
    SetupTurn(const SetupTurn &) = delete;
    SetupTurn &operator=(const SetupTurn &) = delete;

    /// Settings are being applied: whoever asked for it reports a listener that doesn't start.
    bool isTaken() const { return !m_hold.expired(); }

    /// \return what is to be kept for as long as it takes; null when another one has the turn.
    [[nodiscard]] Hold take()
    {
        if (isTaken()) {
            return nullptr;
        }
        const auto hold = std::make_shared<const int>(0);
        m_hold = hold;
        return hold;
    }

private:
    std::weak_ptr<const void> m_hold;
};

} // namespace gateway::wizard
