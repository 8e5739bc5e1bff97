#include "browser/local_study_series_table_view_model.h"

#include <utility>

namespace gateway::browser {

LocalStudySeriesContext LocalStudySeriesContext::of(const QuorinGatewayLocalStudyRow &row)
{
    return {row.id, row.id, row.studyInstanceUID, row.patientName, row.patientID, row.studyDescription};
}

LocalStudySeriesTableViewModel::LocalStudySeriesTableViewModel(const LocalBrowserParts &parts,
                                                               LocalStudySeriesContext study)
    : LocalTable(TableKind::localSeries,
                 parts,
                 std::make_shared<const RowsOf<Row>>(std::vector<Row>()),
                 {Row::numberColumn, true}),
      m_study(std::move(study))
{
}

LocalStudySeriesTableViewModel::~LocalStudySeriesTableViewModel()
{
    close();
}

const std::vector<LocalStudySeriesRow> &LocalStudySeriesTableViewModel::allRows() const
{
    return static_cast<const RowsOf<Row> &>(*rows()).rows();
}

QCoro::Task<> LocalStudySeriesTableViewModel::loadSeries()
{
    return load({});
}

BrowserTable::Load LocalStudySeriesTableViewModel::makeLoad()
{
    return [index = &index(), study = m_study.studyID](const ShowPart &, const std::stop_token &) {
        const QList<gateway::index::LocalSeriesSnapshot> found = index->seriesSnapshots(study);
        std::vector<Row> rows;
        for (const gateway::index::LocalSeriesSnapshot &series : found) {
            rows.push_back(Row::of(series));
        }
        return std::make_shared<const RowsOf<Row>>(std::move(rows));
    };
}

BrowserTable::Delete
LocalStudySeriesTableViewModel::makeDelete(std::optional<gateway::index::OutsideCloud> told)
{
    return [index = &index(), study = m_study.studyID, told = std::move(told)](const QStringList &series,
                                                                               BatchResult &result) {
        add(index->deleteSeries(study, series, told), result);
    };
}

BrowserTable::Count LocalStudySeriesTableViewModel::makeCount()
{
    return [index = &index(), study = m_study.studyID](const QStringList &series) {
        return index->seriesImagesOutsideCloud(study, series);
    };
}

QCoro::Task<BatchResult> LocalStudySeriesTableViewModel::deleteSeries(QList<Row> rows)
{
    QStringList targets;
    for (const Row &row : rows) {
        targets.append(row.target());
    }
    return deleteTargets(targets, rows.size());
}

} // namespace gateway::browser
