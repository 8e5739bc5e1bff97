#include "updates/appcast_updater.h"

#include "core/automatic_update_checks.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "updates/update_source.h"

#include <algorithm>
#include <utility>

namespace gateway::updates {

namespace {

// Often enough for a bar that moves, and few enough for the event loop.
constexpr qint64 kStepsOfProgress = 200;

} // namespace

AppcastUpdater::AppcastUpdater(Collaborators collaborators, const Runtime &runtime)
    : m_collaborators(std::move(collaborators)), m_runtime(runtime), m_life(std::make_shared<int>()),
      m_scope(runtime.main, runtime.pool)
{
    platform::assertMainThread("AppcastUpdater");
    m_scope.start(checkByItself());
}

AppcastUpdater::~AppcastUpdater()
{
    close();
}

void AppcastUpdater::close()
{
    m_fetch.request_stop();
    m_ahead.request_stop();
    m_scope.close();
}

bool AppcastUpdater::automaticallyChecksForUpdates() const
{
    return core::areUpdatesCheckedAutomatically(m_collaborators.defaults);
}

void AppcastUpdater::setAutomaticallyChecksForUpdates(bool areOn)
{
    m_collaborators.defaults.setObject(core::kAutomaticUpdateChecksKey, areOn);
}

QCoro::Task<> AppcastUpdater::checkByItself()
{
    while (!m_scope.stopToken().stop_requested()) {
        const bool sleptThrough = co_await platform::asyncSleep(
            m_runtime.main, m_runtime.clock, kCheckInterval, m_scope.stopToken());
        if (sleptThrough && automaticallyChecksForUpdates()) {
            co_await check();
        }
    }
}

void AppcastUpdater::checkForUpdatesInBackground()
{
    m_scope.start(check());
}

void AppcastUpdater::checkForUpdates()
{
    const bool isBusy = m_standing.phase == Phase::fetching || m_standing.phase == Phase::installing ||
                        m_standing.phase == Phase::installed;
    if (!isBusy) {
        stand({.phase = Phase::checking});
        m_scope.start(check());
    }
    m_collaborators.show(*this);
}

/// One check for all who want one: a person who asks while one is under way is told what that one finds.
QCoro::Task<> AppcastUpdater::check()
{
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    m_isChecking = true;
    Found found;
    std::optional<UpdateError> error;
    try {
        found = co_await platform::onPool(
            m_runtime.main, m_runtime.pool, [source = &m_collaborators.source, stop = m_scope.stopToken()] {
                return source->newerItem(stop);
            });
    } catch (const UpdateError &failure) {
        error = failure;
    }
    m_isChecking = false;
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (error) {
        applyFailure(*error);
    } else {
        applyFound(found);
    }
}

void AppcastUpdater::applyFound(const Found &item)
{
    if (item) {
        m_collaborators.delegate.updaterDidFindValidUpdate(item->names());
    }
    if (m_standing.phase == Phase::checking) {
        stand({.phase = item ? Phase::available : Phase::upToDate, .item = item});
    } else if (item && m_standing.phase == Phase::idle &&
               !m_collaborators.delegate.supportsGentleScheduledUpdateReminders()) {
        stand({.phase = Phase::available, .item = item});
        m_collaborators.show(*this);
    }
    if (item && m_standing.phase == Phase::idle && m_collaborators.installer.installsByItself() &&
        automaticallyChecksForUpdates()) {
        m_ahead = std::stop_source();
        m_scope.start(fetchAhead(*item, m_ahead.get_token()));
    }
}

/// What a person's fetch or the end of the program ends goes on from its bytes the next time.
QCoro::Task<> AppcastUpdater::fetchAhead(AppcastItem item, std::stop_token stop)
{
    try {
        co_await platform::onPool(
            m_runtime.main, m_runtime.pool, [source = &m_collaborators.source, item, stop] {
                return source->fetch(item, [](qint64) {}, stop);
            });
    } catch (const UpdateError &error) {
        if (!stop.stop_requested()) {
            m_collaborators.backgroundFailed(error);
        }
        co_return;
    }
    m_itemAhead = item;
}

void AppcastUpdater::installOnQuit()
{
    const bool isDone = m_standing.phase == Phase::installing || m_standing.phase == Phase::installed;
    if (!m_itemAhead || isDone || !automaticallyChecksForUpdates()) {
        return;
    }
    m_ahead.request_stop(); // what is under way would keep this waiting
    m_fetch.request_stop();
    // All of it is there: this verifies it once more, and asks no server.
    std::stop_source noServer;
    noServer.request_stop();
    try {
        const QString verified =
            m_collaborators.source.fetch(*m_itemAhead, [](qint64) {}, noServer.get_token());
        m_collaborators.installer.install(verified, *m_itemAhead);
    } catch (const UpdateError &error) {
        m_collaborators.backgroundFailed(error);
    }
}

void AppcastUpdater::applyFailure(const UpdateError &error)
{
    if (m_standing.phase == Phase::checking) {
        stand({.phase = Phase::failed, .error = error});
    } else {
        m_collaborators.backgroundFailed(error);
    }
}

void AppcastUpdater::install()
{
    const bool isWaiting = m_standing.phase == Phase::available || m_standing.phase == Phase::failed;
    if (!isWaiting || !m_standing.item) {
        return;
    }
    m_ahead.request_stop();
    m_fetch = std::stop_source();
    stand({.phase = Phase::fetching, .item = m_standing.item});
    m_scope.start(fetchAndInstall(*m_standing.item, m_fetch.get_token()));
}

QCoro::Task<> AppcastUpdater::fetchAndInstall(AppcastItem item, std::stop_token stop)
{
    auto outcome = PackageInstaller::Outcome::installed;
    try {
        const QString verified = co_await fetch(item, stop);
        if (stop.stop_requested()) {
            co_return;
        }
        stand({.phase = Phase::installing, .item = item, .received = item.length});
        outcome = co_await platform::onPool(
            m_runtime.main, m_runtime.pool, [installer = &m_collaborators.installer, verified, item] {
                return installer->install(verified, item);
            });
    } catch (const UpdateError &error) {
        if (!stop.stop_requested()) {
            stand({.phase = Phase::failed, .item = item, .error = error});
        }
        co_return;
    }
    if (outcome == PackageInstaller::Outcome::handedOver) {
        stand({.phase = Phase::handedOver, .item = item, .received = item.length});
    } else {
        stand({.phase = Phase::installed, .item = item, .received = item.length});
        m_collaborators.relaunch();
    }
}

QCoro::Task<QString> AppcastUpdater::fetch(AppcastItem item, std::stop_token stop)
{
    const auto told = std::make_shared<qint64>(-1); // touched by the fetching thread alone
    const qint64 step = std::max<qint64>(1, item.length / kStepsOfProgress);
    const UpdateSource::Progress progress =
        [this, told, step, stop, life = std::weak_ptr(m_life)](qint64 bytes) {
            if (*told < 0 || bytes - *told >= step) {
                *told = bytes;
                m_runtime.main.post(life, [this, bytes, stop] {
                    if (!stop.stop_requested()) {
                        noteReceived(bytes);
                    }
                });
            }
        };
    const QString verified = co_await platform::onPool(
        m_runtime.main, m_runtime.pool, [source = &m_collaborators.source, item, progress, stop] {
            return source->fetch(item, progress, stop);
        });
    co_return verified;
}

void AppcastUpdater::noteReceived(qint64 received)
{
    if (m_standing.phase == Phase::fetching) {
        m_standing.received = received;
        Q_EMIT changed();
    }
}

void AppcastUpdater::dismiss()
{
    if (m_standing.phase == Phase::installing || m_standing.phase == Phase::installed) {
        return;
    }
    m_fetch.request_stop();
    stand({});
}

void AppcastUpdater::stand(Standing standing)
{
    m_standing = std::move(standing);
    Q_EMIT changed();
}

} // namespace gateway::updates
