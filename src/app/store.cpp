#include "app/store.h"

#include "core/notification_names.h"
#include "core/store_errors.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <optional>
#include <utility>

namespace gateway::app {

namespace {

/// The first failure that is reported, and the end of the wait that it means.
class StartFailure
{
public:
    void report(const QVariantMap &userInfo)
    {
        const platform::Sentence message = platform::Sentence::in(userInfo.value(core::kMessageKey));
        {
            const platform::MutexLock lock(m_mutex);
            if (!m_message) {
                m_message = message.isEmpty()
                                ? QCoreApplication::translate("Listener", "Failed to start DIMSE listener.")
                                : message.inLanguage();
            }
        }
        m_stop.request_stop();
    }

    std::optional<QString> message()
    {
        const platform::MutexLock lock(m_mutex);
        return m_message;
    }

    std::stop_token stopToken() const { return m_stop.get_token(); }

private:
    platform::Mutex m_mutex;
    std::optional<QString> m_message QUORIN_GUARDED_BY(m_mutex);
    std::stop_source m_stop;
};

} // namespace

Store::Store(Collaborators collaborators,
             std::shared_ptr<upload::StoreUploadCoordinator> coordinator,
             const MakeListener &makeListener,
             const MakeManualImport &makeManualImport)
    : m_collaborators(collaborators), m_uploadCoordinator(std::move(coordinator)),
      m_listenerService(makeListener(uploadRequest())),
      m_manualImportService(makeManualImport(uploadRequest()))
{
}

std::function<void(QString)> Store::uploadRequest() const
{
    return [weak = std::weak_ptr(m_uploadCoordinator)](const QString &reason) {
        if (const auto alive = weak.lock()) {
            alive->requestUploadRun(reason);
        }
    };
}

void Store::requestUpload(const QString &reason, upload::UploadUrgency urgency)
{
    if (!core::isSetupRequired(m_collaborators.settings)) {
        m_uploadCoordinator->requestUploadRun(reason, urgency);
    }
}

QCoro::Task<void> Store::waitForListenerStart(std::chrono::nanoseconds wait, double seconds)
{
    const std::weak_ptr<receive::StoreListenerService> listener = m_listenerService;
    platform::MainExecutor &main = m_collaborators.main;
    platform::Clock &clock = m_collaborators.clock;
    const auto failure = std::make_shared<StartFailure>();
    const auto token = m_collaborators.notifications.observe(
        core::kStoreListenerError, [failure](const QVariantMap &userInfo) { failure->report(userInfo); });

    co_await platform::asyncSleep(main, clock, wait, failure->stopToken());

    if (const std::optional<QString> message = failure->message()) {
        throw core::StoreStartupError(*message);
    }
    const auto alive = listener.lock();
    if (alive == nullptr || alive->storeListener() == nullptr) {
        throw core::StoreStartupError(QStringLiteral("DIMSE listener did not start within %1 seconds.")
                                          .arg(static_cast<qint64>(std::max(seconds, 0.1))));
    }
}

} // namespace gateway::app
