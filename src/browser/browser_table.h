#pragma once

#include "browser/table_kind.h"
#include "browser/table_rows.h"
#include "index/outside_cloud.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::platform {
class Clock;
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::browser {

/// What every table runs on; all outlive it.
struct BrowserRuntime
{
    platform::MainExecutor &main;
    platform::WorkerPool &pool; ///< where rows are loaded and deleted
    platform::Clock &clock;
};

/// How far a deletion is.
struct DeletionProgress
{
    qint64 done = 0; ///< tried, with success or without
    qint64 total = 0;

    bool operator==(const DeletionProgress &) const = default;
};

/// What became of a batch of deletions. Targets are told once each, in the order of the batch.
struct BatchResult
{
    qint64 requested = 0;
    qint64 deleted = 0;
    qint64 failed = 0;
    QStringList deletedTargets; ///< where they are told apart
    QStringList failedTargets;
    QString lastMessage;    ///< about the last failure; empty where there is no such message
    bool isStopped = false; ///< the rest wasn't tried: a person stopped it, or isn't signed in any more
};

/// How much of what is to be deleted here isn't in the cloud.
struct OutsideCloudCount
{
    qint64 images = 0;
    qint64 parents = 0; ///< studies or series that they belong to

    static OutsideCloudCount of(const index::OutsideCloud &images);

    bool operator==(const OutsideCloudCount &) const = default;
};

/// A table of studies or series: its rows, the search and the sorting, the selection, and the deletion with
/// its three questions. What tells one table from the others is what it loads and deletes, and what it says.
///
/// Loads and deletions work on the pool, one target after the other; what is shown changes on the main thread
/// alone. An answer that was overtaken by a newer one is dropped.
///
/// Owner: whoever shows it. Thread: main.
class BrowserTable : public QObject
{
    Q_OBJECT

public:
    ~BrowserTable() override;

    TableKind kind() const { return m_kind; }

    // --- Rows ----------------------------------------------------------------------------------------

    /// All rows of the last load, in its order; never null.
    const std::shared_ptr<const TableRows> &rows() const { return m_rows; }

    /// The positions of the rows to show, in order.
    const RowOrder &shown() const { return m_shown; }

    const QString &searchText() const { return m_searchText; }
    SortOrder sortOrder() const { return m_sortOrder; }

    // Each takes effect at once.
    void setSearchText(const QString &text);
    void setSortOrder(SortOrder order);
    void setShowsFailuresOnly(bool only);

    /// Loads all rows, unless a load is under way. \param trigger  a short word for the log.
    QCoro::Task<> load(QString trigger);

    /// The same, for as long as this lives, whoever asked for it.
    void startLoad(const QString &trigger);

    /// Drops what a load under way still brings, and asks for no more of it.
    void stopLoading();

    bool isLoading() const { return m_isLoading; }

    /// Whether a call is under way, also one whose answer is dropped.
    bool isBusy() const { return isDeleting() || m_callsUnderWay > 0; }

    bool isDeleting() const { return m_deletion.has_value(); }

    /// Why the last load or deletion failed, for people; nothing when it went well.
    const std::optional<QString> &lastError() const { return m_lastError; }

    /// The end of the last load, good or bad, in UTC.
    const std::optional<QDateTime> &lastUpdatedAt() const { return m_lastUpdatedAt; }

    // --- Selection -----------------------------------------------------------------------------------

    /// The selected rows by their ids, also those that the search hides.
    const QSet<QString> &selectedIDs() const { return m_selectedIDs; }

    void setSelectedIDs(QSet<QString> ids);

    /// Whether the row at this position of `rows` is one of them.
    bool isSelected(quint32 position) const { return m_isSelected[position]; }

    /// How many selected rows aren't shown.
    qsizetype hiddenSelected() const;

    // --- Deleting ------------------------------------------------------------------------------------

    /// For so long a question that follows another takes no yes: clicks and keys that were meant for the one
    /// before end in nothing.
    static constexpr std::chrono::milliseconds kArmingTime{700};

    /// The question that waits for an answer.
    const std::optional<DeleteConfirmationStep> &deleteConfirmationStep() const
    {
        return m_deleteConfirmationStep;
    }

    /// Whether that question takes a yes by now.
    bool isConfirmationArmed() const { return m_isConfirmationArmed; }

    /// What the person is told, by that question, of images that aren't in the cloud.
    OutsideCloudCount toldOutsideCloud() const { return OutsideCloudCount::of(m_told); }

    /// Whether the question is asked again because more such images came than the person was told of.
    bool isAskedAgain() const { return m_isAskedAgain; }

    /// Asks the first question, unless nothing is selected or a deletion is under way. For the local tables
    /// it comes when the index was asked what of the selected rows isn't in the cloud.
    void askToDelete();

    /// Yes: the next question follows in a turn of its own; after the last one the selected rows go, whether
    /// the search shows them or not, and nothing is selected any more. Has no effect before the question is
    /// armed.
    void confirmDeletion();

    /// No: nothing has changed.
    void cancelDeletion();

    /// What of the targets isn't in the cloud, for tables of this machine; nothing where that can't be read.
    QCoro::Task<std::optional<index::OutsideCloud>> imagesOutsideCloud(QStringList targets);

    /// Deletes targets, as rows name them, unless a deletion is under way; blank ones and repetitions don't
    /// count. Rows that were loaded are loaded anew then.
    ///
    /// \param selectedRows  how many rows they came from.
    /// \param told          what the person knows isn't in the cloud: of a table of this machine, targets
    /// with
    ///                      more such images stay.
    /// \return what became of them; empty where nothing was tried.
    QCoro::Task<BatchResult>
    deleteTargets(QStringList targets, qint64 selectedRows, std::optional<index::OutsideCloud> told = {});

    /// How far the deletion under way is.
    const std::optional<DeletionProgress> &deletion() const { return m_deletion; }

    /// Lets the deletion end behind the target at which it is.
    void stopDeleting();

    /// Ends what is under way and returns when nothing of it is left.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

    /// The shown rows may be others now, or in another order.
    void rowsChanged();

protected:
    /// Shows rows of a load that goes on. Called on the pool.
    using ShowPart = std::function<void(std::shared_ptr<const TableRows>)>;

    /// Loads all rows, on the pool. \throws whatever keeps it from that.
    using Load = std::function<std::shared_ptr<const TableRows>(const ShowPart &show, std::stop_token stop)>;

    /// Deletes targets, on the pool, and adds to the result; nothing where the deletion must stop. \throws
    /// nothing.
    using Delete = std::function<void(const QStringList &targets, BatchResult &result)>;

    /// One load as others tell it.
    struct LoadReport
    {
        QString trigger;
        QString correlationId;
        std::exception_ptr failure; ///< null when it went well
    };

    BrowserTable(TableKind kind,
                 const BrowserRuntime &runtime,
                 std::shared_ptr<const TableRows> noRows,
                 SortOrder order);

    /// Forgets the rows and what was said of them. An answer under way counts.
    void forgetRows();

    platform::MainExecutor &main() const { return m_runtime.main; }
    platform::WorkerPool &pool() const { return m_runtime.pool; }
    platform::Clock &clock() const { return m_runtime.clock; }
    platform::TaskScope &scope() { return m_scope; }
    void enterMain() const;

    // --- What tells one table from the others --------------------------------------------------------

    virtual Load makeLoad() = 0;
    virtual Delete makeDelete(std::optional<index::OutsideCloud> told) = 0;

    /// Counts, on the pool, what of targets isn't in the cloud; null where there is nothing to lose.
    using Count = std::function<std::optional<index::OutsideCloud>(const QStringList &targets)>;
    virtual Count makeCount() { return nullptr; }

    /// Whether the load behind a deletion is for whoever deleted.
    virtual bool isReloadMeant() const { return true; }

    /// How many targets are deleted at a time.
    virtual qsizetype deletedAtOnce() const = 0;

    /// The trigger of the load behind a deletion.
    virtual QString triggerAfterDeletion() const = 0;

    /// Whether an answer may be shown, which began when `loadStarts` was called last.
    virtual bool isAnswerStillMeant() const { return true; }

    /// Whether what was said last outlives a load that went well, since nobody asked for that load.
    virtual bool keepsLastError(const QString & /*trigger*/) const { return false; }

    // Told as things happen; the first says what the load is called in the log.
    virtual QString loadStarts(const QString & /*trigger*/) { return {}; }
    virtual void loadEnded(const LoadReport & /*report*/) {}
    virtual void nothingToDelete(qint64 /*selectedRows*/) {}
    virtual void deletionStarts(qint64 /*selectedRows*/, const QStringList & /*targets*/) {}
    virtual void rowsDeleted() {} ///< some, before the load behind a deletion
    virtual void deletionEnded(const BatchResult & /*result*/) {}

private:
    /// Rows as they are shown by one search and sorting.
    struct Arranged
    {
        std::shared_ptr<const TableRows> rows;
        SortOrder sortOrder;
        QString searchText;
        bool failuresOnly = false;
        RowOrder order;
        RowOrder shown;
    };

    QCoro::Task<bool> loadAnyway(QString trigger);
    QStringList selectedTargets() const;
    QCoro::Task<> ask(DeleteConfirmationStep step);
    QCoro::Task<> arm(int question);
    QCoro::Task<> deleteUnlessMoreCame();
    void endQuestions();
    QCoro::Task<> deleteSelected();
    QCoro::Task<BatchResult> deleteAll(QStringList targets, std::optional<index::OutsideCloud> told);
    Arranged blank(std::shared_ptr<const TableRows> rows) const;
    static void arrange(Arranged &rows);
    ShowPart partShower(int load, Arranged like);
    bool isDropped(int load) const;
    void finishLoad(Arranged rows, const LoadReport &report);
    void take(Arranged arranged);
    void filter();
    void markSelected();
    void forgetSelectionOfGoneRows();

    const TableKind m_kind;
    const BrowserRuntime m_runtime;
    const std::shared_ptr<const TableRows> m_noRows;
    std::shared_ptr<const TableRows> m_rows;
    RowOrder m_order; // all rows, sorted
    RowOrder m_shown;
    QString m_searchText;
    SortOrder m_sortOrder;
    bool m_showsFailuresOnly = false;
    int m_load = 0; // the newest; answers of others are dropped
    int m_callsUnderWay = 0;
    std::stop_source m_stopLoad; // of the newest
    bool m_isLoading = false;
    std::optional<QString> m_lastError;
    std::optional<QDateTime> m_lastUpdatedAt;
    QSet<QString> m_selectedIDs;
    std::vector<bool> m_isSelected; // by position: a set is slow to ask for 100,000 rows at each search
    std::optional<DeleteConfirmationStep> m_deleteConfirmationStep;
    bool m_isConfirmationArmed = false;
    bool m_isAsking = false; // from the first question to the last answer
    bool m_isAskedAgain = false;
    int m_question = 0; // the newest; what is found out for others is dropped
    index::OutsideCloud m_told;
    std::optional<DeletionProgress> m_deletion;
    bool m_isStoppingDeletion = false;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::browser
