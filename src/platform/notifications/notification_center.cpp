#include "platform/notifications/notification_center.h"

#include "platform/concurrency/mutex.h"

#include <atomic>
#include <map>
#include <utility>
#include <vector>

namespace gateway::platform {

namespace {

struct Observer
{
    NotificationCenter::Handler handler;
    std::atomic<bool> isActive = true;
};

} // namespace

struct NotificationCenter::Registry
{
    using Observers = std::vector<std::shared_ptr<Observer>>;

    void add(const QString &name, std::shared_ptr<Observer> observer)
    {
        const MutexLock lock(mutex);
        observers[name].push_back(std::move(observer));
    }

    void remove(const QString &name, const std::shared_ptr<Observer> &observer)
    {
        const MutexLock lock(mutex);
        const auto found = observers.find(name);
        if (found == observers.end()) {
            return;
        }
        std::erase(found->second, observer);
        if (found->second.empty()) {
            observers.erase(found);
        }
    }

    Observers observersOf(const QString &name)
    {
        const MutexLock lock(mutex);
        const auto found = observers.find(name);
        return found == observers.end() ? Observers() : found->second;
    }

    Mutex mutex;
    std::map<QString, Observers> observers QUORIN_GUARDED_BY(mutex);
};

NotificationCenter::NotificationCenter() : m_registry(std::make_shared<Registry>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter::Token NotificationCenter::observe(const QString &name, Handler handler)
{
    auto observer = std::make_shared<Observer>();
    observer->handler = std::move(handler);
    m_registry->add(name, observer);
    return Token([registry = std::weak_ptr(m_registry), name, observer] {
        observer->isActive = false;
        if (const auto alive = registry.lock()) {
            alive->remove(name, observer);
        }
    });
}

void NotificationCenter::post(const QString &name, const QVariantMap &userInfo)
{
    for (const auto &observer : m_registry->observersOf(name)) {
        if (observer->isActive) {
            observer->handler(userInfo);
        }
    }
}

} // namespace gateway::platform
