#pragma once

#include "receive/receive_state.h"
#include "state/gateway_app_state.h"
#include "upload/upload_ports.h"

namespace gateway::app {

/// Lets the listener and the upload runs push into the live figures.
///
/// Owner: Gateway. Thread: main.
class LiveState final : public receive::ReceiveState, public upload::UploadState
{
public:
    /// \param state  outlives this; may be made later, before the first call.
    explicit LiveState(state::GatewayAppState &state) : m_state(state) {}

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
    state::GatewayAppState &m_state;
};

} // namespace gateway::app
