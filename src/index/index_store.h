#pragma once

#include "index/former_index.h"
#include "platform/concurrency/mutex.h"
#include "platform/sqlite/database.h"

#include <QtCore/QString>

#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <vector>

namespace gateway::index {

/// The index file: one connection that writes, and as many that read as there are readers at a time.
///
/// Writers that arrive while another commit is under way share the next one: the first of them carries out
/// the changes of all, each undone alone if it fails, and one sync makes them durable, and with them whatever
/// was committed before.
///
/// Owner: DicomDB. Thread: any.
class IndexStore
{
public:
    using Change = std::function<void(platform::Database &)>;

    /// When a change is to survive a power cut. That of the process it survives as soon as it is carried out.
    enum class Durability
    {
        now,        ///< when the call returns
        withTheNext ///< as soon as a later change does: the log keeps their order
    };

    /// Opens or makes the file, with its folder. One of an older version is brought to this one, and a copy
    /// of what it was is kept. \throws IndexOpenError
    explicit IndexStore(const QString &path);
    ~IndexStore();

    IndexStore(const IndexStore &) = delete;
    IndexStore &operator=(const IndexStore &) = delete;

    /// Carries out `change` in a transaction and returns once it is committed, and as durable as it is to be;
    /// blocks until then. A change may run more than once (when the commit that it shared failed, or a change
    /// beside it) and perhaps on another writer's thread: it starts its results anew each time. What it
    /// throws comes out of this call, and nothing has changed then.
    ///
    /// \throws SqliteError  when the transaction failed; nothing has changed then.
    void write(const Change &change, Durability durability = Durability::now);

    /// The same. \return false when the transaction failed; nothing has changed then.
    bool tryWrite(const Change &change, Durability durability = Durability::now);

    /// A change, and when it is to survive a power cut.
    struct Wanted
    {
        Change change;
        Durability durability = Durability::now;
    };

    /// Carries out several changes, in their order and each as `tryWrite` would, in as few transactions as
    /// may be. \return of each, in order, whether it was committed.
    std::vector<bool> tryWriteEach(const std::vector<Wanted> &changes);

    /// Calls `query` with a connection that sees the last committed state, the same one throughout the call.
    /// Never waits for a writer. \throws SqliteError
    template <typename Query>
    auto read(Query query) const
    {
        const Loan loan(*this);
        return query(loan.database());
    }

    /// What is kept of the file as an older version left it.
    const FormerIndex &former() const { return m_former; }

    /// Writers that wait or are being served.
    std::size_t queueLength() const;

private:
    struct Writer;

    /// What happens to the changes of a transaction when one of them fails.
    enum class Undo
    {
        together, ///< nothing has changed
        apart     ///< that one is undone, the others go on
    };

    /// A read connection with a snapshot, for the length of one query.
    class Loan
    {
    public:
        explicit Loan(const IndexStore &store);
        ~Loan();
        Loan(const Loan &) = delete;
        Loan &operator=(const Loan &) = delete;

        platform::Database &database() const { return *m_database; }

    private:
        const IndexStore &m_store;
        std::unique_ptr<platform::Database> m_database;
    };

    void queue(std::deque<Writer> &writers);
    void serve(Writer &self);
    void commitTogether(const std::vector<Writer *> &writers);
    bool tryCommit(const std::vector<Writer *> &writers, Undo undo);
    void carryOut(Writer &writer, Undo undo);

    std::unique_ptr<platform::Database> openWriter();

    const QString m_path;
    FormerIndex m_former;
    std::unique_ptr<platform::Database> m_writer; // used by the writer at the head of the queue only

    mutable platform::Mutex m_mutex;
    std::deque<Writer *> m_queue QUORIN_GUARDED_BY(m_mutex);
    mutable std::vector<std::unique_ptr<platform::Database>> m_idleReaders QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::index
