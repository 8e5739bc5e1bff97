#pragma once

#include "app/ground.h"
#include "receive/receive_state.h"
#include "state/gateway_app_state.h"
#include "state/state_index.h"
#include "upload/upload_ports.h"

#include <QtCore/QTimeZone>

namespace gateway::app {

/// The live figures, and the ports through which the listener and the upload runs push into them.
///
/// Owner: Gateway. Thread: main.
class LiveFigures final : public receive::ReceiveState, public upload::UploadState
{
public:
    explicit LiveFigures(Ground &ground)
        : m_index(ground.index), m_state({.index = m_index,
                                          .isListening = [this] { return m_isListening; },
                                          .notifications = ground.notifications,
                                          .main = ground.main,
                                          .pool = ground.pool,
                                          .clock = ground.clock,
                                          .timeZone = [] { return QTimeZone::systemTimeZone(); }})
    {
    }

    state::GatewayAppState &state() { return m_state; }

    void setListening(bool isListening) override { m_isListening = isListening; }

    void beginReceiveAssociation(const QString &association) override
    {
        m_state.beginReceiveAssociation(association);
    }

    void endReceiveAssociation(const QString &association) override
    {
        m_state.endReceiveAssociation(association);
    }

    void clearReceiveAssociations() override { m_state.clearReceiveAssociations(); }
    void recordReceivedItem() override { m_state.recordReceivedItem(); }
    void refreshCounters() override { m_state.refreshCounters(); }
    void refreshTransferSeries() override { m_state.refreshTransferSeries(); }

    void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) override
    {
        m_state.recordUploadThroughput(bytes, elapsed);
    }

private:
    state::DicomDBStateIndex m_index;
    bool m_isListening = false;
    state::GatewayAppState m_state;
};

} // namespace gateway::app
