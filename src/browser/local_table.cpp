#include "browser/local_table.h"

#include "core/notification_names.h"
#include "platform/concurrency/async_sleep.h"

#include <utility>

namespace gateway::browser {

LocalTable::LocalTable(TableKind kind,
                       const LocalBrowserParts &parts,
                       std::shared_ptr<const TableRows> noRows,
                       SortOrder order)
    : BrowserTable(kind, parts.runtime, std::move(noRows), order), m_parts(parts),
      m_observer(parts.notifications.observe(
          core::kLocalSyncStateChanged,
          [this, life = std::weak_ptr<const void>(m_life), &main = parts.runtime.main](const QVariantMap &) {
              main.post(life, [this] { imagesChanged(); });
          }))
{
}

void LocalTable::imagesChanged()
{
    enterMain();
    if (isDeleting() || scope().stopToken().stop_requested()) {
        return; // its own load follows
    }
    m_hasNews = true;
    if (!m_isFollowing) {
        scope().start(follow());
    }
}

QCoro::Task<> LocalTable::follow()
{
    const auto operation = scope().enter();
    m_isFollowing = true;
    while (m_hasNews && !scope().stopToken().stop_requested()) {
        if (!isLoading() && !isDeleting()) {
            m_hasNews = false;
            co_await load(kFollowTrigger);
        }
        co_await platform::asyncSleep(main(), clock(), kFollowPause, scope().stopToken());
    }
    m_isFollowing = false;
}

void LocalTable::add(const ::gateway::index::DeletionCounts &counts, BatchResult &result)
{
    result.deleted += counts.deleted;
    result.failed += counts.failed;
}

} // namespace gateway::browser
