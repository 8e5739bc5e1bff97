#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/testing/account_world.h"
#include "account/testing/fake_terms_service.h"

#include <QtCore/QString>

namespace gateway::account::testing {

/// A session model around a fake cloud account.
///
/// Owner: a test. Thread: main.
struct SessionWorld : AccountWorld
{
    SessionWorld() { service.user.email = QStringLiteral("ann@site.example"); }

    ~SessionWorld() override
    {
        terms.release();
        service.release();
    }

    void signIn() { finish(auth.signIn(*service.user.email, service.password)); }

    FakeTermsService terms;
    QuorinAuthViewModel auth{{service, service, settings, defaults, notifications, main, pool, clock},
                             QStringLiteral("3.1.0")};
};

} // namespace gateway::account::testing
