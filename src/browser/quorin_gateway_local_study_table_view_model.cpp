#include "browser/quorin_gateway_local_study_table_view_model.h"

namespace gateway::browser {

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
    return [index = &index()](const ShowPart &, const std::stop_token &) {
        const QList<gateway::index::LocalStudySnapshot> studies = index->studySnapshots();
        std::vector<Row> rows;
        rows.reserve(static_cast<std::size_t>(studies.size()));
        for (const gateway::index::LocalStudySnapshot &study : studies) {
            rows.push_back(Row::of(study));
        }
        return std::make_shared<const RowsOf<Row>>(std::move(rows));
    };
}

BrowserTable::Delete QuorinGatewayLocalStudyTableViewModel::makeDelete()
{
    return [index = &index()](const QStringList &studies, BatchResult &result) {
        add(index->deleteStudies(studies), result);
    };
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
