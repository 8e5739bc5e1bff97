#pragma once

#include "platform/net_service/net_service_publishing.h"

namespace gateway::app {

/// For a listener that binds loopback: nobody on the network could reach what would be announced.
class NoAnnouncements final : public platform::NetServicePublishing
{
public:
    std::unique_ptr<platform::NetServicePublication> publish(const platform::NetServiceDescription &) override
    {
        return nullptr;
    }
};

} // namespace gateway::app
