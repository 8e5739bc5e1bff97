#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/testing/account_world.h"
#include "account/testing/fake_terms_service.h"
#include "app/control_protocol.h"

#include <optional>

namespace gateway::app::testing {

/// A session model around a fake cloud account, and a desk to ask.
///
/// Owner: a test. Thread: main.
struct AccountApp : account::testing::AccountWorld
{
    AccountApp() { service.user.email = QStringLiteral("ann@site.example"); }

    ~AccountApp() override
    {
        terms.release();
        service.release();
    }

    void signIn() { finish(auth.signIn(*service.user.email, service.password)); }

    /// Runs the main thread until the desk has answered.
    template <typename Desk>
    ControlReply ask(Desk &desk, const ControlRequest &request)
    {
        std::optional<ControlReply> reply;
        EXPECT_TRUE(desk.handle(request, [&reply](const ControlReply &given) { reply = given; }));
        runUntil([&] { return reply.has_value(); });
        return *reply;
    }

    account::testing::FakeTermsService terms;
    account::QuorinAuthViewModel auth{
        {service, service, settings, defaults, notifications, main, pool, clock}, QStringLiteral("3.1.0")};
};

} // namespace gateway::app::testing
