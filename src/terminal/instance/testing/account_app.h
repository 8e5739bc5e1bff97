#pragma once

#include "account/testing/session_world.h"
#include "terminal/control/control_protocol.h"

#include <optional>

namespace gateway::terminal::testing {

/// A session to work with, and whoever answers commands to ask.
///
/// Owner: a test. Thread: main.
struct AccountApp : account::testing::SessionWorld
{
    /// Runs the main thread until the commands have answered.
    template <typename Commands>
    ControlReply ask(Commands &commands, const ControlRequest &request)
    {
        std::optional<ControlReply> reply;
        EXPECT_TRUE(commands.handle(request, [&reply](const ControlReply &given) { reply = given; }));
        runUntil([&] { return reply.has_value(); });
        return *reply;
    }
};

} // namespace gateway::terminal::testing
