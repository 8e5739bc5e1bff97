#pragma once

#include "browser/cloud_table.h"
#include "browser/quorin_cloud_qido_series_row.h"
#include "browser/quorin_cloud_qido_study_row.h"

namespace gateway::browser {

/// The study whose series are shown, as its row told it. Thread: a value, any.
struct QuorinCloudSeriesStudyContext
{
    QString id = {};
    QString studyInstanceUIDRaw = {};
    QString studyInstanceUIDDisplay = {};
    QString patientName = {};
    QString patientID = {};
    QString studyDescription = {};

    static QuorinCloudSeriesStudyContext of(const QuorinCloudQidoStudyRow &row);
};

/// The series of one study of the cloud.
///
/// Owner: whoever shows it. Thread: main.
class QuorinCloudQidoSeriesTableViewModel final : public CloudTable
{
    Q_OBJECT

public:
    using Row = QuorinCloudQidoSeriesRow;

    QuorinCloudQidoSeriesTableViewModel(const CloudBrowserParts &parts, QuorinCloudSeriesStudyContext study);
    ~QuorinCloudQidoSeriesTableViewModel() override;

    const QuorinCloudSeriesStudyContext &study() const { return m_study; }
    const std::vector<Row> &allRows() const;

    /// Loads the series, unless a load is under way. \param trigger  a short word for the log.
    QCoro::Task<> loadSeries(QString trigger);

    /// Deletes series, each once.
    QCoro::Task<BatchResult> deleteSeries(QList<Row> rows);

protected:
    Load makeLoad() override;
    QString triggerAfterDeletion() const override { return QStringLiteral("post_series_delete"); }

private:
    const QuorinCloudSeriesStudyContext m_study;
};

} // namespace gateway::browser
