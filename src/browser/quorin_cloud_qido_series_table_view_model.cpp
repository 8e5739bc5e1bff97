#include "browser/quorin_cloud_qido_series_table_view_model.h"

#include <utility>

namespace gateway::browser {

using log::GatewayLogAction;

QuorinCloudSeriesStudyContext QuorinCloudSeriesStudyContext::of(const QuorinCloudQidoStudyRow &row)
{
    return {row.id,
            row.studyInstanceUIDRaw,
            row.studyInstanceUID,
            row.patientName,
            row.patientID,
            row.studyDescription};
}

QuorinCloudQidoSeriesTableViewModel::QuorinCloudQidoSeriesTableViewModel(const CloudBrowserParts &parts,
                                                                         QuorinCloudSeriesStudyContext study)
    : CloudTable(TableKind::cloudSeries,
                 parts,
                 {.fetchStarted = GatewayLogAction::quorinCloudSeriesFetchStarted,
                  .fetchSucceeded = GatewayLogAction::quorinCloudSeriesFetchSucceeded,
                  .fetchFailed = GatewayLogAction::quorinCloudSeriesFetchFailed,
                  .batchStarted = GatewayLogAction::quorinCloudSeriesDeleteBatchStarted,
                  .batchCompleted = GatewayLogAction::quorinCloudSeriesDeleteBatchCompleted,
                  .batchFailed = GatewayLogAction::quorinCloudSeriesDeleteBatchFailed,
                  .itemStarted = GatewayLogAction::quorinCloudSeriesDeleteItemStarted,
                  .itemSucceeded = GatewayLogAction::quorinCloudSeriesDeleteItemSucceeded,
                  .itemFailed = GatewayLogAction::quorinCloudSeriesDeleteItemFailed,
                  .itemKey = QStringLiteral("series_instance_uid"),
                  .hashKey = QStringLiteral("series_uid_hash"),
                  .requestedKey = QStringLiteral("requested_series_instance_uids"),
                  .deletedKey = QStringLiteral("deleted_series_instance_uids"),
                  .failedKey = QStringLiteral("failed_series_instance_uids"),
                  .noTargetReason = QStringLiteral("no_valid_series_uid"),
                  .context = {{QStringLiteral("study_instance_uid"), study.studyInstanceUIDRaw}}},
                 study.studyInstanceUIDRaw,
                 std::make_shared<const RowsOf<Row>>(std::vector<Row>()),
                 {Row::numberColumn, true}),
      m_study(std::move(study))
{
}

QuorinCloudQidoSeriesTableViewModel::~QuorinCloudQidoSeriesTableViewModel()
{
    close();
}

const std::vector<QuorinCloudQidoSeriesRow> &QuorinCloudQidoSeriesTableViewModel::allRows() const
{
    return static_cast<const RowsOf<Row> &>(*rows()).rows();
}

QCoro::Task<> QuorinCloudQidoSeriesTableViewModel::loadSeries(QString trigger)
{
    return load(std::move(trigger));
}

CloudTable::Load QuorinCloudQidoSeriesTableViewModel::makeLoad()
{
    return [api = &queries(), study = m_study.studyInstanceUIDRaw](const ShowPart &show,
                                                                   const std::stop_token &stop) {
        return readRows<Row>([&](const auto &onPage) { api->getSeries(study, onPage); }, show, stop);
    };
}

QCoro::Task<BatchResult> QuorinCloudQidoSeriesTableViewModel::deleteSeries(QList<Row> rows)
{
    QStringList targets;
    for (const Row &row : rows) {
        targets.append(row.target());
    }
    return deleteTargets(targets, rows.size());
}

} // namespace gateway::browser
