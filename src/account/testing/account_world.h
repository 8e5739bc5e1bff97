#pragma once

#include "account/testing/fake_account_service.h"
#include "cloud_client/testing/memory_token_store.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::account::testing {

/// What every model of an account works with, on a manual clock, around a fake service.
///
/// Owner: a test. Thread: main.
struct AccountWorld : ::testing::Test, platform::testing::RunsMain
{
    AccountWorld() { settings.waitUntilStored(); }
    ~AccountWorld() override { service.release(); }

    /// Runs the main thread until `task` is done, and gives its result.
    template <typename Result>
    Result resultOf(QCoro::Task<Result> task)
    {
        std::optional<Result> result;
        finish(task.then([&result](Result value) { result = std::move(value); }));
        return *result;
    }

    /// Runs the main thread until `count` calls of `name` have reached the service.
    void reach(const QString &name, int count)
    {
        runUntil([&] { return service.calls().count(name) >= count; });
    }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 3};
    platform::testing::ManualClock clock;
    cloud_client::testing::MemoryTokenStore store;
    cloud_client::NetworkSettings settings{store, QStringLiteral("test")};
    platform::NotificationCenter notifications;
    FakeAccountService service{settings};
};

} // namespace gateway::account::testing
