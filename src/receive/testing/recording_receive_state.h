#pragma once

#include "state/receive_state.h"

#include <QtCore/QSet>
#include <QtCore/QString>

namespace gateway::receive::testing {

/// Live figures that a test can read. Thread: main.
class RecordingReceiveState final : public state::ReceiveState
{
public:
    void setListening(bool listening) override { isListening = listening; }

    void beginReceiveAssociation(const QString &association) override { associations.insert(association); }

    void endReceiveAssociation(const QString &association) override { associations.remove(association); }

    void clearReceiveAssociations() override
    {
        associations.clear();
        ++clearings;
    }

    void recordReceivedItem() override { ++receivedItems; }

    void refreshCounters() override { ++refreshes; }

    bool isListening = false;
    QSet<QString> associations;
    int clearings = 0;
    int receivedItems = 0;
    int refreshes = 0;
};

} // namespace gateway::receive::testing
