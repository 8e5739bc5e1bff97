#include "browser/cloud_table.h"

#include "browser/browser_words.h"
#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "log/writing/redaction.h"

#include <utility>

namespace gateway::browser {

using log::GatewayLogLevel;
using log::GatewayLogOutcome;

namespace {

log::GatewayLogError redacted(const std::exception &error)
{
    const QString words = cloud_client::localizedDescription(error);
    const auto *known = dynamic_cast<const cloud_client::QuorinError *>(&error);
    return known != nullptr ? log::redactedError(known->domain, known->code, words)
                            : log::redactedError(QStringLiteral("std::exception"), 0, words);
}

log::GatewayLogError redacted(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        return redacted(error);
    }
}

/// Whether the cloud still has what it was asked to delete: it said no, and not because it has no such thing.
bool isRefusal(const std::exception &error)
{
    const auto *refusal = dynamic_cast<const cloud_client::QrnErrorResponse *>(&error);
    const auto *failure = dynamic_cast<const cloud_client::AFError *>(&error);
    const std::optional<int> status = refusal != nullptr   ? refusal->responseCode
                                      : failure != nullptr ? failure->responseCode
                                                           : std::nullopt;
    return status && *status >= 400 && *status < 500 && *status != 404 && *status != 410;
}

} // namespace

CloudTable::CloudTable(TableKind kind,
                       const CloudBrowserParts &parts,
                       LogWords words,
                       QString study,
                       std::shared_ptr<const TableRows> noRows,
                       SortOrder order)
    : BrowserTable(kind, parts.runtime, std::move(noRows), order), m_parts(parts), m_words(std::move(words)),
      m_study(std::move(study))
{
}

log::StoreLogRecord CloudTable::record(GatewayLogLevel level,
                                       log::GatewayLogAction action,
                                       GatewayLogOutcome outcome,
                                       const QString &correlationId,
                                       Details details) const
{
    details.insert(m_words.context);
    return {.level = level,
            .category = log::GatewayLogCategory::quorinCloud,
            .action = action,
            .outcome = outcome,
            .correlationId = correlationId,
            .details = std::move(details)};
}

void CloudTable::sessionChanged()
{
    enterMain();
    const std::optional<QString> now = m_parts.session();
    if (!now) {
        resetAfterSignOut();
    } else if (m_session && m_session != now) {
        stopLoading();
        resetAfterSignOut();
    }
}

void CloudTable::resetAfterSignOut()
{
    enterMain();
    forgetRows();
}

bool CloudTable::isAnswerStillMeant() const
{
    const std::optional<QString> now = m_parts.session();
    return !now || now == m_session;
}

QString CloudTable::loadStarts(const QString &trigger)
{
    m_session = m_parts.session();
    const QString correlationId = log::newUuidText();
    m_parts.emitter.emit(record(GatewayLogLevel::info,
                                m_words.fetchStarted,
                                GatewayLogOutcome::started,
                                correlationId,
                                {{QStringLiteral("trigger"), trigger}}));
    return correlationId;
}

void CloudTable::loadEnded(const LoadReport &report)
{
    if (report.failure) {
        log::StoreLogRecord failed = record(GatewayLogLevel::error,
                                            m_words.fetchFailed,
                                            GatewayLogOutcome::failed,
                                            report.correlationId,
                                            {{QStringLiteral("trigger"), report.trigger}});
        failed.error = redacted(report.failure);
        m_parts.emitter.emit(std::move(failed));
        return;
    }
    m_parts.emitter.emit(record(GatewayLogLevel::info,
                                m_words.fetchSucceeded,
                                GatewayLogOutcome::succeeded,
                                report.correlationId,
                                {{QStringLiteral("trigger"), report.trigger},
                                 {QStringLiteral("rows_total"), QString::number(rows()->count())},
                                 {QStringLiteral("rows_filtered"), QString::number(shown().size())}}));
}

void CloudTable::nothingToDelete(qint64 selectedRows)
{
    m_parts.emitter.emit(record(GatewayLogLevel::warning,
                                m_words.batchFailed,
                                GatewayLogOutcome::failed,
                                log::newUuidText(),
                                {{QStringLiteral("selected_rows"), QString::number(selectedRows)},
                                 {QStringLiteral("requested_delete_count"), QStringLiteral("0")},
                                 {QStringLiteral("reason"), m_words.noTargetReason}}));
}

void CloudTable::deletionStarts(qint64 selectedRows, const QStringList &targets)
{
    m_batch = log::newUuidText();
    m_batchSession = m_parts.session();
    m_parts.emitter.emit(record(GatewayLogLevel::info,
                                m_words.batchStarted,
                                GatewayLogOutcome::started,
                                m_batch,
                                {{QStringLiteral("selected_rows"), QString::number(selectedRows)},
                                 {QStringLiteral("requested_delete_count"), QString::number(targets.size())},
                                 {m_words.requestedKey, targets.join(u',')}}));
}

bool CloudTable::isReloadMeant() const
{
    return m_batchSession && m_parts.session() == m_batchSession;
}

/// Deletes one study or series, and keeps in mind here that it went: before, since the program may end while
/// the cloud works at it, and behind, for what was being sent meanwhile.
///
/// \throws std::exception
void CloudTable::deleteOne(const QString &target, const QString &device) const
{
    const bool isSeries = holdsSeries(kind());
    const QString &study = isSeries ? m_study : target;
    const platform::SeriesUid series(isSeries ? target : QString());
    const auto note = [&](index::CloudDeletion step) {
        return m_parts.record.noteCloudDeletion(platform::StudyUid(study), series, step);
    };
    if (!note(index::CloudDeletion::begins)) {
        throw cloud_client::AFError(unnotedDeletionWords(), std::nullopt);
    }
    try {
        if (isSeries) {
            m_parts.deletes.deleteSeries(study, series.value(), device);
        } else {
            m_parts.deletes.deleteStudy(study, device);
        }
    } catch (const std::exception &error) {
        note(isRefusal(error) ? index::CloudDeletion::refused : index::CloudDeletion::done);
        throw;
    }
    note(index::CloudDeletion::done);
}

CloudTable::Delete CloudTable::makeDelete(std::optional<index::OutsideCloud> /*told*/)
{
    return [this, device = core::deviceId(m_parts.defaults), batch = m_batch, session = m_batchSession](
               const QStringList &targets, BatchResult &result) {
        for (const QString &target : targets) {
            if (!session || m_parts.session() != session) {
                return; // what was meant for one account isn't done with another
            }
            const QString hash = log::hashedIdentifier(target).value_or(QStringLiteral("unknown"));
            const auto tell = [&](GatewayLogLevel level,
                                  log::GatewayLogAction action,
                                  GatewayLogOutcome outcome,
                                  std::optional<log::GatewayLogError> error) {
                log::StoreLogRecord told = record(
                    level, action, outcome, batch, {{m_words.itemKey, target}, {m_words.hashKey, hash}});
                told.fileHash = hash;
                told.error = std::move(error);
                m_parts.emitter.emit(std::move(told));
            };
            tell(GatewayLogLevel::debug, m_words.itemStarted, GatewayLogOutcome::started, {});
            try {
                deleteOne(target, device);
                ++result.deleted;
                result.deletedTargets.append(target);
                tell(GatewayLogLevel::info, m_words.itemSucceeded, GatewayLogOutcome::succeeded, {});
            } catch (const std::exception &error) {
                ++result.failed;
                result.failedTargets.append(target);
                result.lastMessage = cloud_client::localizedDescription(error);
                tell(GatewayLogLevel::error, m_words.itemFailed, GatewayLogOutcome::failed, redacted(error));
            }
        }
    };
}

void CloudTable::deletionEnded(const BatchResult &result)
{
    Details details{{QStringLiteral("requested_delete_count"), QString::number(result.requested)},
                    {QStringLiteral("deleted_count"), QString::number(result.deleted)},
                    {QStringLiteral("failed_count"), QString::number(result.failed)},
                    {m_words.deletedKey, result.deletedTargets.join(u',')}};
    if (result.failed > 0) {
        details.insert(m_words.failedKey, result.failedTargets.join(u','));
    }
    if (result.isStopped) {
        details.insert(QStringLiteral("stopped"), QStringLiteral("true"));
    }
    const bool isWhole = result.failed == 0 && !result.isStopped;
    if (result.failed == result.requested) {
        m_parts.emitter.emit(record(GatewayLogLevel::error,
                                    m_words.batchFailed,
                                    GatewayLogOutcome::failed,
                                    m_batch,
                                    std::move(details)));
    } else {
        m_parts.emitter.emit(record(isWhole ? GatewayLogLevel::info : GatewayLogLevel::warning,
                                    m_words.batchCompleted,
                                    isWhole ? GatewayLogOutcome::succeeded : GatewayLogOutcome::completed,
                                    m_batch,
                                    std::move(details)));
    }
}

} // namespace gateway::browser
