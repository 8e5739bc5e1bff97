#include "shell/dashboard/cards/state_binding.h"

#include "platform/concurrency/main_thread.h"
#include "shell/controls/frame_ticker.h"
#include "shell/dashboard/cards/flow_overlay.h"
#include "shell/dashboard/cards/upload_speed_value_label.h"

#include <algorithm>

namespace gateway::shell {

using state::GatewayAppState;
using Field = state::GatewayField;

StateBinding::StateBinding(const GatewayAppState &state,
                           std::initializer_list<Field> fields,
                           Show show,
                           QObject *parent)
    : QObject(parent), m_state(state), m_fields(fields), m_show(std::move(show))
{
    platform::assertMainThread("StateBinding");
    m_rest.setSingleShot(true);
    m_rest.setInterval(FrameTicker::kInterval);
    m_rest.callOnTimeout(this, [this] {
        if (m_isDue) {
            showNow();
        }
    });
    connect(&state, &GatewayAppState::published, this, &StateBinding::fieldMoved);
    m_show(state);
}

void StateBinding::fieldMoved(Field field)
{
    if (m_isDue || std::find(m_fields.begin(), m_fields.end(), field) == m_fields.end()) {
        return;
    }
    m_isDue = true;
    if (!m_rest.isActive()) {
        QMetaObject::invokeMethod(this, &StateBinding::showNow, Qt::QueuedConnection);
    }
}

void StateBinding::showNow()
{
    m_isDue = false;
    m_show(m_state);
    m_rest.start();
}

void bind(DownArrowFlowOverlay &overlay, const GatewayAppState &state)
{
    new StateBinding(
        state,
        {Field::isDimseListening, Field::isReceivingNow},
        [&overlay](const GatewayAppState &now) {
            overlay.setState(now.figures().isDimseListening, now.figures().isReceivingNow);
        },
        &overlay);
}

void bind(UpArrowFlowOverlay &overlay, const GatewayAppState &state)
{
    new StateBinding(
        state,
        {Field::uploadSpeedMbps},
        [&overlay](const GatewayAppState &now) { overlay.setActive(now.figures().uploadSpeedMbps > 0); },
        &overlay);
}

void bind(UploadSpeedValueLabel &label, const GatewayAppState &state)
{
    new StateBinding(
        state,
        {Field::uploadSpeedMbps},
        [&label](const GatewayAppState &now) { label.setSpeedMbps(now.figures().uploadSpeedMbps); },
        &label);
}

} // namespace gateway::shell
