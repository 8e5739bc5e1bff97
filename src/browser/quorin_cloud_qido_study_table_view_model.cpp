#include "browser/quorin_cloud_qido_study_table_view_model.h"

#include "platform/concurrency/clock.h"

namespace gateway::browser {

namespace {

using log::GatewayLogAction;

std::optional<QString> filterText(const QString &text)
{
    const QString trimmed = text.trimmed();
    return trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
}

QString dicomDate(const QDate &date)
{
    return date.toString(QStringLiteral("yyyyMMdd"));
}

std::optional<QString> studyDate(const QuorinCloudStudyFilters &filters, const QDate &today)
{
    switch (filters.studyDateFilterMode) {
    case QuorinCloudStudyDateFilterMode::any:
        return std::nullopt;
    case QuorinCloudStudyDateFilterMode::today:
        return dicomDate(today);
    case QuorinCloudStudyDateFilterMode::yesterday:
        return dicomDate(today.addDays(-1));
    case QuorinCloudStudyDateFilterMode::custom:
        return dicomDate(filters.customStudyDateFilter);
    }
    return std::nullopt;
}

} // namespace

QuorinCloudStudyFilters QuorinCloudStudyFilters::none(const QDate &today)
{
    QuorinCloudStudyFilters filters;
    filters.patientBirthDateFilter = today;
    filters.customStudyDateFilter = today;
    return filters;
}

cloud_client::QrnQidoQueryRequest QuorinCloudStudyFilters::request(const QDate &today) const
{
    cloud_client::QrnQidoQueryRequest request;
    request.patientName = filterText(patientNameFilter);
    request.patientId = filterText(patientIDFilter);
    request.accessionNumber = filterText(accessionNumberFilter);
    request.studyDescription = filterText(studyDescriptionFilter);
    request.referringPhysician = filterText(referringPhysicianFilter);
    request.institutionName = filterText(institutionNameFilter);
    if (usePatientBirthDateFilter) {
        request.patientBirthDate = dicomDate(patientBirthDateFilter);
    }
    request.studyDate = studyDate(*this, today);
    request.modalitiesInStudy = filterText(modalityFilter);
    return request;
}

QuorinCloudQidoStudyTableViewModel::QuorinCloudQidoStudyTableViewModel(const CloudBrowserParts &parts)
    : CloudTable(TableKind::cloudStudies,
                 parts,
                 {.fetchStarted = GatewayLogAction::quorinCloudQidoFetchStarted,
                  .fetchSucceeded = GatewayLogAction::quorinCloudQidoFetchSucceeded,
                  .fetchFailed = GatewayLogAction::quorinCloudQidoFetchFailed,
                  .batchStarted = GatewayLogAction::quorinCloudDeleteBatchStarted,
                  .batchCompleted = GatewayLogAction::quorinCloudDeleteBatchCompleted,
                  .batchFailed = GatewayLogAction::quorinCloudDeleteBatchFailed,
                  .itemStarted = GatewayLogAction::quorinCloudDeleteStudyStarted,
                  .itemSucceeded = GatewayLogAction::quorinCloudDeleteStudySucceeded,
                  .itemFailed = GatewayLogAction::quorinCloudDeleteStudyFailed,
                  .itemKey = QStringLiteral("study_instance_uid"),
                  .hashKey = QStringLiteral("study_uid_hash"),
                  .requestedKey = QStringLiteral("requested_study_instance_uids"),
                  .deletedKey = QStringLiteral("deleted_study_instance_uids"),
                  .failedKey = QStringLiteral("failed_study_instance_uids"),
                  .noTargetReason = QStringLiteral("no_valid_study_uid"),
                  .context = {}},
                 {},
                 std::make_shared<const RowsOf<Row>>(std::vector<Row>()),
                 {Row::dateColumn, false}),
      m_filters(QuorinCloudStudyFilters::none(today()))
{
}

QuorinCloudQidoStudyTableViewModel::~QuorinCloudQidoStudyTableViewModel()
{
    close();
}

QDate QuorinCloudQidoStudyTableViewModel::today() const
{
    return clock().now().toLocalTime().date();
}

const std::vector<QuorinCloudQidoStudyRow> &QuorinCloudQidoStudyTableViewModel::allRows() const
{
    return static_cast<const RowsOf<Row> &>(*rows()).rows();
}

void QuorinCloudQidoStudyTableViewModel::setFilters(const QuorinCloudStudyFilters &filters)
{
    enterMain();
    if (m_filters != filters) {
        m_filters = filters;
        Q_EMIT changed();
    }
}

void QuorinCloudQidoStudyTableViewModel::clearFilters()
{
    setFilters(QuorinCloudStudyFilters::none(today()));
}

QCoro::Task<> QuorinCloudQidoStudyTableViewModel::loadStudies(QString trigger)
{
    return load(std::move(trigger));
}

QString QuorinCloudQidoStudyTableViewModel::loadStarts(const QString &trigger)
{
    m_hasExecutedQuery = true;
    return CloudTable::loadStarts(trigger);
}

CloudTable::Load QuorinCloudQidoStudyTableViewModel::makeLoad()
{
    return [api = &queries(), request = m_filters.request(today())](const ShowPart &show,
                                                                    const std::stop_token &stop) {
        return readRows<Row>([&](const auto &onPage) { api->getAll(request, onPage); }, show, stop);
    };
}

QCoro::Task<BatchResult> QuorinCloudQidoStudyTableViewModel::deleteStudies(QList<Row> rows)
{
    QStringList targets;
    for (const Row &row : rows) {
        targets.append(row.target());
    }
    return deleteTargets(targets, rows.size());
}

void QuorinCloudQidoStudyTableViewModel::resetAfterSignOut()
{
    m_hasExecutedQuery = false;
    CloudTable::resetAfterSignOut();
}

} // namespace gateway::browser
