#pragma once

#include <limits>

namespace gateway::account {

/// Knows whether a user has seen the end of the terms: "Accept" waits for that.
///
/// Owner: a terms screen, which makes a new one each time it comes up. Thread: main.
class GatewayTermsScrollRule
{
public:
    /// Where the end of the text is before the screen has measured it: out of sight.
    static constexpr double kUnmeasured = std::numeric_limits<double>::max();

    /// How far below the visible part the end may be and still count as seen, in points.
    static constexpr double kTolerance = 8.0;

    /// The end of the text has moved. Once it was seen it stays so, whatever comes after.
    ///
    /// \param bottom         the end's distance from the top of the visible part, in points.
    /// \param visibleHeight  of the scroll area, in points.
    void bottomMoved(double bottom, double visibleHeight)
    {
        m_hasScrolledToBottom = m_hasScrolledToBottom || bottom <= visibleHeight + kTolerance;
    }

    bool hasScrolledToBottom() const { return m_hasScrolledToBottom; }

private:
    bool m_hasScrolledToBottom = false;
};

} // namespace gateway::account
