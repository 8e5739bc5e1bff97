#pragma once

#include "browser/browser_table.h"
#include "index/failed_uploads.h"
#include "index/study_index.h"
#include "platform/notifications/notification_center.h"

#include <chrono>
#include <functional>

namespace gateway::browser {

/// What the tables of this machine work with; all outlive them.
struct LocalBrowserParts
{
    index::StudyIndex &index;
    const index::FailedUploads &failures;
    platform::NotificationCenter &notifications;
    BrowserRuntime runtime;
    std::function<void()> countersChanged; ///< something was deleted; called on the main thread
};

/// A table of the index. It follows the images in it: while they come or change their sync states it loads
/// again, but leaves the machine some time in between.
///
/// Owner: whoever shows it. Thread: main.
class LocalTable : public BrowserTable
{
    Q_OBJECT

public:
    /// Between two loads that follow the images.
    static constexpr std::chrono::milliseconds kFollowPause{500};

    /// Images came, or have other sync states: the table loads again soon. Changes of sync states it learns
    /// by itself.
    void imagesChanged();

protected:
    LocalTable(TableKind kind,
               const LocalBrowserParts &parts,
               std::shared_ptr<const TableRows> noRows,
               SortOrder order);

    ::gateway::index::StudyIndex &index() const { return m_parts.index; }
    const ::gateway::index::FailedUploads &failures() const { return m_parts.failures; }

    /// Adds what became of some targets.
    static void add(const ::gateway::index::DeletionCounts &counts, BatchResult &result);

    /// Importers are let in between.
    qsizetype deletedAtOnce() const override { return 20; }
    QString triggerAfterDeletion() const override { return {}; }
    bool keepsLastError(const QString &trigger) const override { return trigger == kFollowTrigger; }
    void rowsDeleted() override { m_parts.countersChanged(); }

private:
    static inline const QString kFollowTrigger = QStringLiteral("sync_state_changed");

    QCoro::Task<> follow();

    const LocalBrowserParts m_parts;
    bool m_isFollowing = false;
    bool m_hasNews = false;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::NotificationCenter::Token m_observer;
};

} // namespace gateway::browser
