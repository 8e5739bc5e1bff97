#include "index/index_store.h"

#include "index/schema.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"

#include <QtCore/QFileInfo>

#include <algorithm>
#include <optional>
#include <utility>

namespace gateway::index {

using platform::Database;
using platform::MutexLock;
using platform::SqliteError;

namespace {

// So many changes share a commit at most: the first writer of a group waits for all of them.
constexpr std::size_t kLargestGroup = 64;

// Idle connections beyond this are closed: more readers at a time are rare.
constexpr std::size_t kIdleReaders = 3;

} // namespace

struct IndexStore::Writer
{
    Writer(const Change &wanted, Durability when) : change(wanted), durability(when) {}

    const Change &change;
    const Durability durability;
    std::exception_ptr error;
    bool done = false;
    platform::Condition turn;
};

IndexStore::IndexStore(const QString &path) : m_path(path), m_former(path), m_writer(openWriter()) {}

IndexStore::~IndexStore() = default;

std::unique_ptr<Database> IndexStore::openWriter()
{
    checkIndexFile(m_path);
    try {
        platform::makeFoldersDurably(QFileInfo(m_path).absolutePath());
        auto database = std::make_unique<Database>(Database::open(m_path, Database::Access::readWrite));
        database->useDurableWriteAheadLog();
        // A log of 16 MiB lets pages that many imports touch be written back once; the cache holds as much.
        database->exec("PRAGMA cache_size = -16384; PRAGMA wal_autocheckpoint = 4096;"
                       "PRAGMA journal_size_limit = 67108864");
        if (isOfOlderVersion(*database)) {
            m_former.keep(*database);
        } else {
            m_former.tidyUp();
        }
        bringSchemaUpToDate(*database);
        return database;
    } catch (const SqliteError &error) {
        throw IndexOpenError(error);
    } catch (const platform::FileError &error) {
        throw IndexOpenError(error.message());
    }
}

bool IndexStore::tryWrite(const Change &change, Durability durability)
{
    try {
        write(change, durability);
        return true;
    } catch (const SqliteError &) {
        return false; // undone; the caller gives its empty result
    }
}

void IndexStore::write(const Change &change, Durability durability)
{
    std::deque<Writer> one;
    one.emplace_back(change, durability);
    queue(one);
    serve(one.front());
    if (one.front().error) {
        std::rethrow_exception(one.front().error);
    }
}

std::vector<bool> IndexStore::tryWriteEach(const std::vector<Wanted> &changes)
{
    std::deque<Writer> writers;
    for (const auto &[change, durability] : changes) {
        writers.emplace_back(change, durability);
    }
    queue(writers); // side by side, so that the first takes the others with it
    std::vector<bool> isCommitted;
    for (Writer &writer : writers) {
        serve(writer);
        isCommitted.push_back(!writer.error);
    }
    return isCommitted;
}

void IndexStore::queue(std::deque<Writer> &writers)
{
    const MutexLock lock(m_mutex);
    for (Writer &writer : writers) {
        m_queue.push_back(&writer);
    }
}

/// Blocks until a writer of the queue is done, by its own doing where it comes to stand at the head.
void IndexStore::serve(Writer &self)
{
    std::vector<Writer *> group;
    {
        const MutexLock lock(m_mutex);
        while (!self.done && m_queue.front() != &self) {
            self.turn.wait(m_mutex);
        }
        if (!self.done) {
            const auto size = std::min(m_queue.size(), kLargestGroup);
            group.assign(m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(size));
        }
    }
    if (group.empty()) {
        return;
    }
    commitTogether(group);
    const MutexLock lock(m_mutex);
    for (Writer *writer : group) {
        m_queue.pop_front();
        writer->done = true;
        writer->turn.notifyOne();
    }
    if (!m_queue.empty()) {
        m_queue.front()->turn.notifyOne();
    }
}

std::size_t IndexStore::queueLength() const
{
    const MutexLock lock(m_mutex);
    return m_queue.size();
}

void IndexStore::commitTogether(const std::vector<Writer *> &writers)
{
    // What lets each be undone alone is a copy of every page that it changes; hardly any ever is undone.
    if (tryCommit(writers, Undo::together) || writers.size() == 1 || tryCommit(writers, Undo::apart)) {
        return;
    }
    // One of them may have been too much for the disk: alone, each meets its own fate.
    for (Writer *writer : writers) {
        tryCommit({writer}, Undo::together);
    }
}

/// \return false when nothing has changed.
bool IndexStore::tryCommit(const std::vector<Writer *> &writers, Undo undo)
{
    try {
        m_writer->syncCommits(std::ranges::any_of(
            writers, [](const Writer *writer) { return writer->durability == Durability::now; }));
        platform::Transaction transaction(*m_writer);
        for (Writer *writer : writers) {
            carryOut(*writer, undo);
            if (writer->error && undo == Undo::together) {
                std::rethrow_exception(writer->error);
            }
            if (!m_writer->inTransaction()) {
                break; // SQLite has undone all of it, as the commit says
            }
        }
        transaction.commit();
        return true;
    } catch (...) {
        for (Writer *writer : writers) {
            writer->error = std::current_exception();
        }
        return false;
    }
}

void IndexStore::carryOut(Writer &writer, Undo undo)
{
    writer.error = nullptr;
    try {
        std::optional<platform::Savepoint> part;
        if (undo == Undo::apart) {
            part.emplace(*m_writer);
        }
        writer.change(*m_writer);
        if (part) {
            part->keep();
        }
    } catch (...) {
        writer.error = std::current_exception();
    }
}

IndexStore::Loan::Loan(const IndexStore &store) : m_store(store)
{
    {
        const MutexLock lock(store.m_mutex);
        if (!store.m_idleReaders.empty()) {
            m_database = std::move(store.m_idleReaders.back());
            store.m_idleReaders.pop_back();
        }
    }
    if (!m_database) {
        m_database = std::make_unique<Database>(Database::open(store.m_path, Database::Access::readOnly));
        m_database->exec(
            "PRAGMA cache_size = -4096"); // holds the inner pages of an index of some million rows
    }
    m_database->prepare("BEGIN").run();
}

IndexStore::Loan::~Loan()
{
    try {
        m_database->prepare("COMMIT").run();
    } catch (const SqliteError &) {
        return; // this connection isn't used again
    }
    const MutexLock lock(m_store.m_mutex);
    if (m_store.m_idleReaders.size() < kIdleReaders) {
        m_store.m_idleReaders.push_back(std::move(m_database));
    }
}

} // namespace gateway::index
