#include "index/index_store.h"

#include "index/schema.h"
#include "platform/sqlite/testing/forgetful_log.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

namespace gateway::index {

namespace {

using platform::Database;
using platform::SqliteError;

void insert(Database &database, int value)
{
    database.prepare("INSERT INTO Study (id) VALUES (?)").bindAll(QString::number(value)).run();
}

class Store : public ::testing::Test
{
protected:
    std::int64_t studies()
    {
        return store.read([](Database &database) { return database.integer("SELECT count(*) FROM Study"); });
    }

    QTemporaryDir m_home;
    IndexStore store{m_home.filePath(QStringLiteral("i.sqlite"))};
};

using IndexStoreWriters = Store;
using IndexStoreReaders = Store;

} // namespace

TEST_F(IndexStoreWriters, AFailedChangeIsUndoneAndItsErrorComesOut)
{
    const auto failing = [](Database &database) {
        insert(database, 1);
        throw std::runtime_error("no");
    };

    EXPECT_THROW(store.write(failing), std::runtime_error);

    EXPECT_EQ(studies(), 0);
    store.write([](Database &database) { insert(database, 2); });
    EXPECT_EQ(studies(), 1);
}

TEST_F(IndexStoreReaders, AnIndexIsOpenedWhileAnotherProgramHoldsItsWriteLock)
{
    store.write([](Database &database) { insert(database, 1); });
    Database holder =
        Database::open(m_home.filePath(QStringLiteral("i.sqlite")), Database::Access::readWrite);
    const platform::Transaction backup(holder);

    const IndexStore second(m_home.filePath(QStringLiteral("i.sqlite")));

    EXPECT_EQ(second.read([](Database &database) { return database.integer("SELECT count(*) FROM Study"); }),
              1);
}

TEST_F(IndexStoreWriters, ThatArriveTogetherEachLearnTheirOwnResult)
{
    constexpr int kWriters = 8;
    constexpr int kRounds = 25;
    std::atomic<int> failures = 0;
    std::latch start(kWriters);
    std::vector<std::thread> threads;
    threads.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        threads.emplace_back([&, writer] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                try {
                    store.write([&](Database &database) {
                        insert(database, writer);
                        if (writer % 2 == 1) {
                            throw std::runtime_error("odd");
                        }
                    });
                } catch (const std::runtime_error &) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(failures, kWriters / 2 * kRounds);
    EXPECT_EQ(studies(), kWriters / 2 * kRounds);
}

TEST_F(IndexStoreWriters, ThatQueueBehindACommitShareTheNextOne)
{
    std::latch inside(1);
    std::latch release(1);
    std::thread first([&] {
        store.write([&](Database &database) {
            insert(database, 0);
            inside.count_down();
            release.wait();
        });
    });
    inside.wait();
    constexpr int kFollowers = 4;
    std::vector<std::thread> followers;
    followers.reserve(kFollowers);
    std::vector<std::thread::id> carriers(kFollowers);
    for (int follower = 0; follower < kFollowers; ++follower) {
        followers.emplace_back([&, follower] {
            store.write([&, follower](Database &database) {
                insert(database, follower);
                carriers[static_cast<std::size_t>(follower)] = std::this_thread::get_id();
            });
        });
    }
    while (store.queueLength() < kFollowers + 1) {
        std::this_thread::yield();
    }
    release.count_down();
    first.join();
    for (std::thread &thread : followers) {
        thread.join();
    }

    EXPECT_EQ(studies(), kFollowers + 1);
    for (const std::thread::id carrier : carriers) {
        EXPECT_EQ(carrier, carriers[0]) << "one of them carried out all";
    }
}

TEST_F(IndexStoreWriters, OneThatBreaksTheCommonTransactionDoesNotTakeTheOthersWithIt)
{
    std::latch inside(1);
    std::latch release(1);
    std::thread first([&] {
        store.write([&](Database &) {
            inside.count_down();
            release.wait();
        });
    });
    inside.wait();
    std::atomic<int> refused = 0;
    const auto tryWriting = [&](const char *sql) {
        try {
            store.write([sql](Database &database) { database.exec(sql); });
        } catch (const SqliteError &) {
            ++refused;
        }
    };
    std::thread good([&] { tryWriting("INSERT INTO Study (id) VALUES (1)"); });
    std::thread bad(
        [&] { tryWriting("INSERT INTO Study (id) VALUES (2); ROLLBACK; SELECT a FROM nowhere"); });
    std::thread alsoGood([&] { tryWriting("INSERT INTO Study (id) VALUES (3)"); });
    while (store.queueLength() < 4) {
        std::this_thread::yield();
    }
    release.count_down();
    for (std::thread *thread : {&first, &good, &bad, &alsoGood}) {
        thread->join();
    }

    EXPECT_EQ(refused, 1);
    EXPECT_EQ(store.read([](Database &database) { return database.integer("SELECT sum(id) FROM Study"); }),
              4);
}

TEST_F(IndexStoreWriters, NoneRunsOutsideATransactionThatSqliteHasUndone)
{
    const auto insertOne = [](int value) {
        return IndexStore::Wanted{[value](Database &database) { insert(database, value); }};
    };
    const IndexStore::Wanted breaking{[](Database &database) { database.exec("ROLLBACK"); }};

    const std::vector<bool> isCommitted = store.tryWriteEach({insertOne(1), breaking, insertOne(2)});

    EXPECT_EQ(isCommitted, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(studies(), 2) << "each of them once";
}

TEST_F(IndexStoreWriters, ChangesOfWhichNoneFailsRunOnce)
{
    int runs = 0;
    const auto countOne = [&runs](int value) {
        return IndexStore::Wanted{[value, &runs](Database &database) {
            insert(database, value);
            ++runs;
        }};
    };

    EXPECT_EQ(store.tryWriteEach({countOne(1), countOne(2), countOne(3)}),
              (std::vector<bool>{true, true, true}));

    EXPECT_EQ(runs, 3);
}

TEST_F(IndexStoreWriters, SeveralChangesAreCommittedTogetherAndEachIsUndoneAlone)
{
    QList<std::int64_t> seenBefore;
    const auto insertOne = [&](int value, bool fails) {
        return IndexStore::Wanted{[this, value, fails, &seenBefore](Database &database) {
            seenBefore.append(studies()); // of another connection, which sees what is committed
            insert(database, value);
            if (fails) {
                throw std::runtime_error("no");
            }
        }};
    };

    const std::vector<bool> isCommitted =
        store.tryWriteEach({insertOne(1, false), insertOne(2, true), insertOne(3, false)});

    EXPECT_EQ(isCommitted, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(seenBefore.count(0), seenBefore.size());
    EXPECT_EQ(studies(), 2);
    EXPECT_TRUE(store.tryWriteEach({}).empty());
}

TEST_F(IndexStoreWriters, MoreChangesThanShareACommitAreAllCarriedOutInOrder)
{
    std::vector<IndexStore::Wanted> changes;
    QList<int> order;
    for (int value = 1; value <= 150; ++value) {
        changes.push_back({[value, &order](Database &database) {
            insert(database, value);
            order.append(value);
        }});
    }

    const std::vector<bool> isCommitted = store.tryWriteEach(changes);

    EXPECT_EQ(std::ranges::count(isCommitted, true), 150);
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_EQ(studies(), 150);
    EXPECT_EQ(store.queueLength(), 0U);
}

TEST_F(IndexStoreReaders, DoNotWaitForAWriter)
{
    std::latch inside(1);
    std::latch release(1);
    std::thread writer([&] {
        store.write([&](Database &database) {
            insert(database, 0);
            inside.count_down();
            release.wait();
        });
    });
    inside.wait();

    EXPECT_EQ(studies(), 0) << "what was committed last";

    release.count_down();
    writer.join();
    EXPECT_EQ(studies(), 1);
}

TEST_F(IndexStoreReaders, SeeOneStateThroughoutAQuery)
{
    store.write([](Database &database) { insert(database, 0); });

    const auto counts = store.read([&](Database &database) {
        const auto before = database.integer("SELECT count(*) FROM Study");
        store.write([](Database &writer) { insert(writer, 1); });
        return std::pair(before, database.integer("SELECT count(*) FROM Study"));
    });

    EXPECT_EQ(counts.first, counts.second);
    EXPECT_EQ(studies(), 2);
}

TEST_F(IndexStoreReaders, CannotWrite)
{
    EXPECT_THROW(store.read([](Database &database) {
        insert(database, 1);
        return 0;
    }),
                 SqliteError);
}

/// An index on a disk whose power may be cut.
class IndexStoreAndPowerCut : public ::testing::Test
{
protected:
    void write(int value, IndexStore::Durability durability)
    {
        m_store.write([value](Database &database) { insert(database, value); }, durability);
    }

    /// The studies that are there when the power is cut now.
    std::int64_t left()
    {
        const QString copy = m_home.filePath(QStringLiteral("left-%1.sqlite").arg(++m_cuts));
        m_disk.leaveAfterPowerCut(m_home.filePath(QStringLiteral("i.sqlite")), copy);
        Database database = Database::open(copy, Database::Access::readWrite);
        return database.integer("SELECT count(*) FROM Study");
    }

private:
    QTemporaryDir m_home;
    int m_cuts = 0;
    platform::testing::ForgetfulLog m_disk;

protected:
    IndexStore m_store{m_home.filePath(QStringLiteral("i.sqlite"))};
};

TEST_F(IndexStoreAndPowerCut, LosesNoChangeThatIsToSurviveIt)
{
    write(1, IndexStore::Durability::now);

    EXPECT_EQ(left(), 1);
}

TEST_F(IndexStoreAndPowerCut, NobodyWaitsForTheDiskForAChangeThatMayWait)
{
    write(1, IndexStore::Durability::now);
    write(2, IndexStore::Durability::withTheNext);

    EXPECT_EQ(left(), 1);
}

TEST_F(IndexStoreAndPowerCut, SeveralChangesAreThereAsSoonAsOneOfThemIsTo)
{
    const auto insertOne = [](int value, IndexStore::Durability durability) {
        return IndexStore::Wanted{[value](Database &database) { insert(database, value); }, durability};
    };
    using enum IndexStore::Durability;
    m_store.tryWriteEach({insertOne(1, withTheNext), insertOne(2, withTheNext)});
    EXPECT_EQ(left(), 0) << "nobody waits for the disk";

    m_store.tryWriteEach({insertOne(3, withTheNext), insertOne(4, now)});

    EXPECT_EQ(left(), 4);
}

TEST_F(IndexStoreAndPowerCut, AChangeThatMightWaitIsThereWithTheNextThatMightNot)
{
    write(1, IndexStore::Durability::withTheNext);
    write(2, IndexStore::Durability::withTheNext);
    write(3, IndexStore::Durability::now);
    write(4, IndexStore::Durability::withTheNext);

    EXPECT_EQ(left(), 3);
}

} // namespace gateway::index
