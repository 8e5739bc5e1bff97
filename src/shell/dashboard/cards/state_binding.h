#pragma once

#include "state/gateway_app_state.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <functional>
#include <initializer_list>
#include <vector>

namespace gateway::shell {

class DownArrowFlowOverlay;
class UpArrowFlowOverlay;
class UploadSpeedValueLabel;

/// Shows some of the live figures: at once, and from then on when the event loop comes round after one of
/// them moved, so that fields that move together show together. Where they move on, as while images come,
/// they show again thirty times a second at most: nobody could read more.
///
/// Owner: the widget that shows them. Thread: main.
class StateBinding : public QObject
{
    Q_OBJECT

public:
    using Show = std::function<void(const state::GatewayAppState &)>;

    /// \param state  outlives this.
    StateBinding(const state::GatewayAppState &state,
                 std::initializer_list<state::GatewayField> fields,
                 Show show,
                 QObject *parent);

    /// Whether something moved that isn't shown yet.
    bool isDue() const { return m_isDue; }

private:
    void fieldMoved(state::GatewayField field);
    void showNow();

    const state::GatewayAppState &m_state;
    const std::vector<state::GatewayField> m_fields;
    const Show m_show;
    QTimer m_rest; ///< runs while what was shown is too new to be replaced
    bool m_isDue = false;
};

// Each lets a widget follow the live figures, which outlive it, and act on them.

void bind(DownArrowFlowOverlay &overlay, const state::GatewayAppState &state);

/// Images go while there is an upload speed.
void bind(UpArrowFlowOverlay &overlay, const state::GatewayAppState &state);
void bind(UploadSpeedValueLabel &label, const state::GatewayAppState &state);

} // namespace gateway::shell
