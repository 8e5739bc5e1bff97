#include "browser/quorin_gateway_local_study_table_view_model.h"

#include "browser/browser_words.h"
#include "platform/concurrency/async.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

#include <algorithm>
#include <utility>

namespace gateway::browser {

namespace {

/// How many files failed for which reason, by study.
using FailureCounts = QHash<QString, QMap<core::FailureClass, qint64>>;

FailureCounts failuresIn(const gateway::index::FailedUploads &failed, const std::stop_token &stop)
{
    constexpr int kAtOnce = 1000;
    FailureCounts counts;
    gateway::index::UploadFailureCursor cursor;
    QList<gateway::index::UploadFailure> failures = failed.next(kAtOnce, cursor);
    while (!failures.isEmpty() && !stop.stop_requested()) {
        for (const gateway::index::UploadFailure &failure : failures) {
            ++counts[failure.studyInstanceUID.value().trimmed()][core::failureClassOf(failure.failureClass)];
        }
        failures = failed.next(kAtOnce, cursor);
    }
    return counts;
}

QString wordsOf(const QMap<core::FailureClass, qint64> &counts)
{
    QStringList lines;
    for (auto each = counts.cbegin(); each != counts.cend(); ++each) {
        lines.append(failureLine(each.key(), each.value()));
    }
    return lines.join(u'\n');
}

} // namespace

QuorinGatewayLocalStudyTableViewModel::QuorinGatewayLocalStudyTableViewModel(const LocalBrowserParts &parts)
    : LocalTable(TableKind::localStudies,
                 parts,
                 std::make_shared<const RowsOf<Row>>(std::vector<Row>()),
                 {Row::dateColumn, false})
{
}

QuorinGatewayLocalStudyTableViewModel::~QuorinGatewayLocalStudyTableViewModel()
{
    close();
}

const std::vector<QuorinGatewayLocalStudyRow> &QuorinGatewayLocalStudyTableViewModel::allRows() const
{
    return static_cast<const RowsOf<Row> &>(*rows()).rows();
}

QCoro::Task<> QuorinGatewayLocalStudyTableViewModel::loadStudies()
{
    return load({});
}

BrowserTable::Load QuorinGatewayLocalStudyTableViewModel::makeLoad()
{
    return [index = &index(), failed = &failures()](const ShowPart &, const std::stop_token &stop) {
        QList<gateway::index::LocalStudySnapshot> studies = index->studySnapshots();
        const bool hasFailed =
            std::ranges::any_of(studies, [](const auto &study) { return study.failedImageCount > 0; });
        const FailureCounts failures = hasFailed ? failuresIn(*failed, stop) : FailureCounts();
        const LocalRowWords words = LocalRowWords::current();
        std::vector<Row> rows;
        rows.reserve(static_cast<std::size_t>(studies.size()));
        for (gateway::index::LocalStudySnapshot &study : studies) {
            const QString reasons =
                study.failedImageCount > 0 ? wordsOf(failures.value(study.studyInstanceUID)) : QString();
            rows.push_back(Row::of(std::move(study), words));
            rows.back().failures = reasons;
        }
        return std::make_shared<const RowsOf<Row>>(std::move(rows));
    };
}

BrowserTable::Delete
QuorinGatewayLocalStudyTableViewModel::makeDelete(std::optional<gateway::index::OutsideCloud> told)
{
    return [index = &index(), told = std::move(told)](const QStringList &studies, BatchResult &result) {
        add(index->deleteStudies(studies, told), result);
    };
}

QCoro::Task<QList<QUrl>> QuorinGatewayLocalStudyTableViewModel::filesOf(QString study, int limit)
{
    const auto operation = scope().enter();
    const QList<QUrl> files = co_await platform::onPool(
        main(), pool(), [index = &index(), study, limit] { return index->studyFiles(study, limit); });
    co_return files;
}

BrowserTable::Count QuorinGatewayLocalStudyTableViewModel::makeCount()
{
    return [index = &index()](const QStringList &studies) { return index->imagesOutsideCloud(studies); };
}

QCoro::Task<BatchResult> QuorinGatewayLocalStudyTableViewModel::deleteStudies(QList<Row> rows)
{
    QStringList targets;
    for (const Row &row : rows) {
        targets.append(row.target());
    }
    return deleteTargets(targets, rows.size());
}

} // namespace gateway::browser
