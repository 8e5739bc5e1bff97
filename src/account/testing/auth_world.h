#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/testing/account_world.h"
#include "core/notification_names.h"

namespace gateway::account::testing {

inline const QString kEmail = QStringLiteral("ann@site.example");
inline const QString kRight = QStringLiteral("right");

/// The model of a session over a service in memory, and how often it posted that the session changed.
///
/// Owner: a test. Thread: main.
struct QuorinAuth : AccountWorld
{
    QuorinAuth()
    {
        service.user.email = kEmail;
        token = notifications.observe(core::kAuthStateChanged, [this](const QVariantMap &) {
            ++posts;
            EXPECT_TRUE(main.isCurrent());
        });
    }

    ~QuorinAuth() override { service.release(); }

    /// Runs the main thread until the notification was posted `count` times in all.
    void reachPosts(int count)
    {
        runUntil([&] { return posts >= count; });
    }

    bool signIn(const QString &password = kRight) { return resultOf(model.signIn(kEmail, password)); }

    void refresh(bool force = false) { finish(model.refresh(force)); }

    QuorinAuthViewModel model{{service, service, settings, defaults, notifications, main, pool, clock},
                              QStringLiteral("3.1.0")};
    platform::NotificationCenter::Token token;
    int posts = 0;
};

} // namespace gateway::account::testing
