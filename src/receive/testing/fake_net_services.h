#pragma once

#include "platform/net_service/net_service_publishing.h"

#include <QtCore/QList>

#include <memory>

namespace gateway::receive::testing {

/// A local network that remembers what was announced on it. Thread: main.
class FakeNetServices final : public platform::NetServicePublishing
{
public:
    std::unique_ptr<platform::NetServicePublication>
    publish(const platform::NetServiceDescription &description) override
    {
        announcements.append(description);
        return std::make_unique<Publication>(live);
    }

    QList<platform::NetServiceDescription> announcements; ///< all there were
    int live = 0;                                         ///< how many stand now

private:
    class Publication final : public platform::NetServicePublication
    {
    public:
        explicit Publication(int &live) : m_live(live) { ++m_live; }
        ~Publication() override { --m_live; }

    private:
        int &m_live;
    };
};

} // namespace gateway::receive::testing
