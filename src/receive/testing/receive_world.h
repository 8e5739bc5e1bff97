#pragma once

#include "core/dcm_listener_settings.h"
#include "core/notification_names.h"
#include "core/settings.h"
#include "log/writing/store_log_emitter.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "receive/store_listener_service.h"
#include "receive/testing/fake_imports.h"
#include "receive/testing/fake_net_services.h"
#include "receive/testing/fake_store_scp.h"
#include "receive/testing/recording_receive_observer.h"
#include "receive/testing/recording_receive_state.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace gateway::receive::testing {

/// A listener service with everything around it, in a throw-away home.
///
/// Owner: a test. Thread: main.
class ReceiveWorld
{
public:
    ReceiveWorld()
    {
        QDir().mkpath(inbox());
        m_stateObserver = notifications.observe(core::kStoreListenerStateChanged,
                                                [this](const QVariantMap &) { ++stateChanges; });
        m_errorObserver =
            notifications.observe(core::kStoreListenerError, [this](const QVariantMap &userInfo) {
                errors.append(platform::Sentence::in(userInfo.value(core::kMessageKey)).inEnglish());
                isLastErrorKnown = userInfo.value(kListenerFailureIsKnownKey).toBool();
            });
        service = std::make_shared<WatchedService>(
            m_isServiceGone,
            StoreListenerService::Collaborators{
                defaults,
                settings,
                notifications,
                main,
                pool,
                clock,
                imports,
                emitter,
                observer,
                state,
                netServices,
                incomingFolders,
                [this] { return makeSCP(); },
                [this](const QString &) { ++uploadRequests; },
                [this] { return newestAcknowledged.load(); },
                [this](const index::ImportedFileSummary &) { return imports.isKept(); }},
            StoreListenerService::Places{inbox(), QStringLiteral("127.0.0.1")});
    }

    ~ReceiveWorld()
    {
        for (const auto &scp : scps) {
            scp->end(0);
        }
        service.reset();
        // The thread of a run that is just ending may be the service's last owner: it needs this world so
        // long.
        while (!m_isServiceGone) {
            std::this_thread::yield();
        }
    }

    ReceiveWorld(const ReceiveWorld &) = delete;
    ReceiveWorld &operator=(const ReceiveWorld &) = delete;

    QString inbox() const { return m_home.filePath(QStringLiteral("Import")); }

    QString path(const QString &name) const { return m_home.filePath(name); }

    /// Changes the listener's stored settings.
    void configure(const std::function<void(core::DCMListenerSettings &)> &change)
    {
        core::DCMListenerSettings record = core::DCMListenerSettings::load(defaults);
        change(record);
        record.save(defaults);
    }

    /// A file as the receiver leaves it in the inbox.
    QString receivedFile(const QByteArray &content, int number = 1) const
    {
        const QString path =
            inbox() + QStringLiteral("/quorin-%1-1.dcm").arg(number, 32, 16, QLatin1Char('0'));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("a test file could not be written");
        }
        return path;
    }

    /// Lets everything run until the condition holds.
    void waitUntil(const std::function<bool()> &condition)
    {
        while (!condition()) {
            main.drain();
            std::this_thread::yield();
        }
        main.drain();
    }

    /// Lets everything that was queued run.
    void settle()
    {
        pool.waitUntilIdle();
        main.drain();
    }

    /// The files in a folder, hidden ones too.
    static QStringList filesIn(const QString &folder)
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    std::vector<std::shared_ptr<FakeStoreSCP>> scps;
    platform::testing::ManualClock clock;
    platform::NotificationCenter notifications;
    platform::MainExecutor main;

private:
    /// Says so when its life is over.
    class LastWord
    {
    public:
        explicit LastWord(std::atomic<bool> &isGone) : m_isGone(isGone) {}
        ~LastWord() { m_isGone = true; }
        LastWord(const LastWord &) = delete;
        LastWord &operator=(const LastWord &) = delete;

    private:
        std::atomic<bool> &m_isGone;
    };

    /// The base named first is the last to go.
    class WatchedService final : LastWord, public StoreListenerService
    {
    public:
        WatchedService(std::atomic<bool> &isGone, const Collaborators &collaborators, const Places &places)
            : LastWord(isGone), StoreListenerService(collaborators, places)
        {
        }
    };

    std::shared_ptr<platform::StoreSCP> makeSCP()
    {
        scps.push_back(std::make_shared<FakeStoreSCP>());
        return scps.back();
    }

    QTemporaryDir m_home;
    std::atomic<bool> m_isServiceGone = false;

public:
    platform::UserDefaults defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};
    core::Settings settings{defaults};
    IncomingFolders incomingFolders{defaults, settings, {inbox(), m_home.path()}};
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    FakeImports imports;
    RecordingReceiveState state;
    RecordingReceiveObserver observer;
    FakeNetServices netServices;
    std::atomic<int> uploadRequests = 0;
    std::atomic<std::int64_t> newestAcknowledged = 0;
    int stateChanges = 0;
    QStringList errors;
    bool isLastErrorKnown = false;
    platform::WorkerPool pool{QStringLiteral("global"), 2};
    std::shared_ptr<StoreListenerService> service;

private:
    platform::NotificationCenter::Token m_stateObserver;
    platform::NotificationCenter::Token m_errorObserver;
};

} // namespace gateway::receive::testing
