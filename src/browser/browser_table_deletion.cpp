// How rows are deleted: the questions, each when the one before is gone, then the batch and its summary.
#include "browser/browser_table.h"
#include "browser/browser_words.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace gateway::browser {

namespace {

QStringList distinct(const QStringList &targets)
{
    QStringList kept;
    QSet<QString> known;
    for (const QString &target : targets) {
        const QString trimmed = target.trimmed();
        if (!trimmed.isEmpty() && !known.contains(trimmed)) {
            known.insert(trimmed);
            kept.append(trimmed);
        }
    }
    return kept;
}

std::optional<DeleteConfirmationStep> stepAfter(DeleteConfirmationStep step)
{
    switch (step) {
    case DeleteConfirmationStep::first:
        return DeleteConfirmationStep::second;
    case DeleteConfirmationStep::second:
        return DeleteConfirmationStep::third;
    case DeleteConfirmationStep::third:
        break;
    }
    return std::nullopt;
}

/// Whether there is more to lose than the person was told of.
bool hasGrown(const index::OutsideCloud &told, const index::OutsideCloud &now)
{
    for (auto each = now.cbegin(); each != now.cend(); ++each) {
        if (each.value() > told.value(each.key())) {
            return true;
        }
    }
    return false;
}

} // namespace

OutsideCloudCount OutsideCloudCount::of(const index::OutsideCloud &images)
{
    return {std::accumulate(images.cbegin(), images.cend(), qint64{0}), images.size()};
}

// --- Questions -------------------------------------------------------------------------------------------

QStringList BrowserTable::selectedTargets() const
{
    QStringList targets;
    for (qsizetype position = 0; position < m_rows->count(); ++position) {
        if (isSelected(static_cast<quint32>(position))) {
            targets.append(m_rows->target(position));
        }
    }
    return targets;
}

void BrowserTable::askToDelete()
{
    enterMain();
    if (!m_selectedIDs.isEmpty() && !isDeleting() && !m_isAsking) {
        m_isAsking = true;
        m_isAskedAgain = false;
        m_scope.start(ask(DeleteConfirmationStep::first));
    }
}

/// Shows a question when it is known what the person has to be told by it.
QCoro::Task<> BrowserTable::ask(DeleteConfirmationStep step)
{
    const auto operation = m_scope.enter();
    const int question = ++m_question;
    const std::optional<index::OutsideCloud> found = co_await imagesOutsideCloud(selectedTargets());
    if (question != m_question || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (!found) {
        endQuestions();
        m_lastError = unknownOutsideCloudWords();
        Q_EMIT changed();
        co_return;
    }
    m_told = *found;
    m_deleteConfirmationStep = step;
    m_isConfirmationArmed = step == DeleteConfirmationStep::first;
    Q_EMIT changed();
    if (!m_isConfirmationArmed) {
        co_await arm(question);
    }
}

QCoro::Task<> BrowserTable::arm(int question)
{
    const bool isPassed =
        co_await platform::asyncSleep(m_runtime.main, m_runtime.clock, kArmingTime, m_scope.stopToken());
    if (isPassed && question == m_question) {
        m_isConfirmationArmed = true;
        Q_EMIT changed();
    }
}

void BrowserTable::confirmDeletion()
{
    enterMain();
    if (!m_deleteConfirmationStep || !m_isConfirmationArmed) {
        return;
    }
    const std::optional<DeleteConfirmationStep> next = stepAfter(*m_deleteConfirmationStep);
    const int question = ++m_question;
    m_deleteConfirmationStep.reset();
    m_isConfirmationArmed = false;
    Q_EMIT changed();
    if (!next) {
        m_scope.start(deleteUnlessMoreCame());
        return;
    }
    m_runtime.main.post(m_life, [this, question, next] {
        if (question == m_question && !m_scope.stopToken().stop_requested()) {
            m_scope.start(ask(*next));
        }
    });
}

void BrowserTable::cancelDeletion()
{
    enterMain();
    endQuestions();
    Q_EMIT changed();
}

void BrowserTable::endQuestions()
{
    ++m_question;
    m_isAsking = false;
    m_isConfirmationArmed = false;
    m_deleteConfirmationStep.reset();
}

/// A person who was told of fewer images than would be lost by now is asked once more.
QCoro::Task<> BrowserTable::deleteUnlessMoreCame()
{
    const auto operation = m_scope.enter();
    const int question = m_question;
    const std::optional<index::OutsideCloud> now = co_await imagesOutsideCloud(selectedTargets());
    if (question != m_question || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (now && !hasGrown(m_told, *now)) {
        endQuestions();
        co_await deleteSelected();
    } else {
        m_isAskedAgain = true;
        co_await ask(DeleteConfirmationStep::third);
    }
}

QCoro::Task<std::optional<index::OutsideCloud>> BrowserTable::imagesOutsideCloud(QStringList targets)
{
    const auto operation = m_scope.enter();
    const Count count = makeCount();
    if (!count) {
        co_return index::OutsideCloud();
    }
    auto found = co_await platform::onPool(
        m_runtime.main, m_runtime.pool, [count, targets] { return count(targets); });
    co_return found;
}

// --- The batch -------------------------------------------------------------------------------------------

QCoro::Task<> BrowserTable::deleteSelected()
{
    const QStringList targets = selectedTargets();
    setSelectedIDs({});
    co_await deleteTargets(targets, targets.size(), m_told);
}

void BrowserTable::stopDeleting()
{
    enterMain();
    m_isStoppingDeletion = isDeleting();
}

QCoro::Task<BatchResult>
BrowserTable::deleteTargets(QStringList targets, qint64 selectedRows, std::optional<index::OutsideCloud> told)
{
    enterMain();
    if (isDeleting() || m_scope.stopToken().stop_requested()) {
        co_return BatchResult{};
    }
    const auto operation = m_scope.enter();
    const QStringList wanted = distinct(targets);
    if (wanted.isEmpty()) {
        m_lastError = nothingToDeleteWords(m_kind);
        nothingToDelete(selectedRows);
        Q_EMIT changed();
        co_return BatchResult{};
    }
    m_isStoppingDeletion = false;
    deletionStarts(selectedRows, wanted);
    m_deletion = DeletionProgress{0, wanted.size()};
    Q_EMIT changed();
    const BatchResult result = co_await deleteAll(wanted, std::move(told));
    if (result.deleted > 0) {
        rowsDeleted();
    }
    bool isLoaded = m_load == 0;
    if (!isLoaded && isReloadMeant() && !m_scope.stopToken().stop_requested()) {
        isLoaded = co_await loadAnyway(triggerAfterDeletion());
    }
    if (isLoaded || result.failed > 0 || result.isStopped) {
        m_lastError = deletionSummary(m_kind, result); // else the load's own words stay
    }
    deletionEnded(result);
    m_deletion.reset();
    Q_EMIT changed();
    co_return result;
}

QCoro::Task<BatchResult> BrowserTable::deleteAll(QStringList targets, std::optional<index::OutsideCloud> told)
{
    const Delete deleteSome = makeDelete(std::move(told));
    BatchResult result;
    result.requested = targets.size();
    qsizetype done = 0;
    bool goesOn = true;
    while (goesOn && done < targets.size() && !m_isStoppingDeletion &&
           !m_scope.stopToken().stop_requested()) {
        const QStringList some = targets.mid(done, deletedAtOnce());
        result =
            co_await platform::onPool(m_runtime.main, m_runtime.pool, [deleteSome, some, result]() mutable {
                deleteSome(some, result);
                return result;
            });
        const qsizetype before = std::exchange(done, result.deleted + result.failed);
        goesOn = before < done;
        m_deletion->done = done;
        Q_EMIT changed();
    }
    result.isStopped = done < targets.size();
    co_return result;
}

} // namespace gateway::browser
