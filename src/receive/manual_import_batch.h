#pragma once

#include "index/db_service.h"
#include "platform/archive/archive_unpacking.h"
#include "platform/concurrency/clock.h"
#include "receive/file_collector.h"
#include "receive/manual_import_report.h"
#include "receive/temporary_root.h"

#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::receive {

/// One batch of a manual import: finds the files, opens the archives, imports one file after another.
///
/// Sources are only read, each on a thread that is left behind where its disk doesn't answer: a batch ends by
/// a stop whatever a share does. What is imported are copies of our own; they and what archives held lie in
/// temporary roots, which go with this and the last of those threads.
///
/// Owner: the work on the import queue. Thread: that queue's.
class ManualImportBatch
{
public:
    struct Collaborators
    {
        index::DBServiceProtocol &dbService;
        platform::ArchiveUnpacking &unpacking;
        platform::Clock &clock;
        std::function<std::optional<qint64>()> availableBytes;      ///< where the gateway keeps its files
        std::function<void(const ManualImportReport &)> onProgress; ///< after each step
    };

    struct Places
    {
        QString temporaryFolder; ///< for temporary roots
        QStringList ownFolders;  ///< passed over on the way
    };

    /// Imports leave so much of the volume to the modalities: several times what they are refused below.
    static constexpr qint64 kReserveBytes = 256LL * 1024 * 1024;

    /// An archive in the seventh archive around it isn't opened.
    static constexpr int kDeepestArchive = 7;

    /// What one selected archive may come to, with all that is nested in it.
    static constexpr qint64 kMostEntries = 500'000;
    static constexpr qint64 kAlwaysAllowedBytes = 1024LL * 1024 * 1024;
    static constexpr qint64 kLargestRatio = 200;

    ManualImportBatch(Collaborators collaborators, Places places, std::stop_token stop);

    /// Works through the selection, up to a stop. \return the report, its phase still `importing`.
    ManualImportReport run(const QList<QUrl> &urls);

private:
    /// A selected archive and all that comes out of it.
    struct Tree
    {
        QString shownPath;
        qint64 entriesLeft = kMostEntries;
        qint64 bytesLeft = 0;
    };

    struct Item
    {
        CollectedFile file;
        std::shared_ptr<Tree> tree; ///< none for a file of the operator's own
        int depth = 0;              ///< archives around it
    };

    using Stack = std::vector<Item>;

    void collect(const QByteArray &path, const Item &around, Stack &stack);
    void work(Stack stack);

    void openArchive(const Item &item, const QString &extension, Stack &stack);
    std::optional<SkipReason> unpack(const Item &item, const QString &extension, Stack &stack);
    platform::ArchiveLimits limitsFor(const Tree &tree) const;

    /// A file of our own with the content of an item, or why there is none.
    struct OwnFile
    {
        QString path;
        std::optional<SkipReason> trouble;
    };

    void importOne(const Item &item);
    OwnFile take(const Item &item);
    std::optional<SkipReason> importFile(const QString &path);
    std::optional<SkipReason>
    copy(const QByteArray &path, const QString &destination, std::shared_ptr<TemporaryRoot> root);
    template <typename Look>
    auto look(Look look);

    bool hasRoomFor(qint64 bytes) const;
    void itemDone(const Item &item, std::optional<SkipReason> skipped);
    void enter(ManualImportReport::Phase phase);
    void tellProgress();

    Collaborators m_collaborators;
    Places m_places;
    std::stop_token m_stop;
    std::chrono::nanoseconds m_begun;
    std::shared_ptr<FileCollector> m_collector; // nobody's but a look's, once that was given up
    bool m_isSilent = false;                    // a source's disk doesn't answer: no other is asked
    ManualImportReport m_report;
    std::vector<std::shared_ptr<TemporaryRoot>> m_roots; // of opened archives
    std::shared_ptr<TemporaryRoot> m_copies;             // made for the first file
};

} // namespace gateway::receive
