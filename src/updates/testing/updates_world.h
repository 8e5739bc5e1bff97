#pragma once

#include "core/settings.h"
#include "log/writing/store_log_emitter.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "updates/alert.h"
#include "updates/gateway_updater_service.h"
#include "updates/testing/fake_updater.h"

#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace gateway::updates::testing {

/// A person before a screen: alerts stay open until the test answers them. Thread: main.
class FakePerson final : public Alerts
{
public:
    void ask(const Alert &alert, std::function<void(bool)> answered) override
    {
        shown.push_back(alert);
        m_open.push_back(std::move(answered));
    }

    bool isAsked() const { return !m_open.empty(); }

    /// Answers the oldest open alert.
    void answer(bool accepted)
    {
        const auto answered = std::move(m_open.front());
        m_open.erase(m_open.begin());
        answered(accepted);
    }

    std::vector<Alert> shown;

private:
    std::vector<std::function<void(bool)>> m_open;
};

/// What services of updates work with, on a manual clock.
///
/// Owner: a test. Thread: main.
struct UpdatesWorld : ::testing::Test, platform::testing::RunsMain
{
    ShowUpdateBanner showBanner()
    {
        return [this](const std::optional<QString> &message) {
            banner = message;
            ++bannersShown;
        };
    }

    /// The actions logged so far, by the words of the log files.
    QStringList actions() const
    {
        QStringList words;
        for (const log::GatewayLogEvent &event : log.events()) {
            words.append(QString(rawValue(event.action)));
        }
        return words;
    }

    log::GatewayLogEvent last(log::GatewayLogAction action) const { return log.events(action).back(); }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    core::Settings settings{defaults};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 2};
    platform::testing::ManualClock clock;
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    FakePerson person;
    FakeUpdates updates;
    std::optional<QString> banner = QStringLiteral("of before");
    int bannersShown = 0;
    GatewayUpdaterService updaterService{
        {.emitter = emitter, .showBanner = showBanner(), .makeUpdater = [this](UpdaterDelegate &) {
             return std::make_unique<FakeUpdater>(updates);
         }}};
};

} // namespace gateway::updates::testing
