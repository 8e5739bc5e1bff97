#pragma once

#include "browser/local_study_series_row.h"
#include "browser/local_table.h"
#include "browser/quorin_gateway_local_study_row.h"

namespace gateway::browser {

/// The study whose series are shown, as its row told it. Thread: a value, any.
struct LocalStudySeriesContext
{
    QString id = {};
    QString studyID = {}; ///< the study's identity in the index
    QString studyInstanceUID = {};
    QString patientName = {};
    QString patientID = {};
    QString studyDescription = {};

    static LocalStudySeriesContext of(const QuorinGatewayLocalStudyRow &row);
};

/// The series of one study of this machine.
///
/// Owner: whoever shows it. Thread: main.
class LocalStudySeriesTableViewModel final : public LocalTable
{
    Q_OBJECT

public:
    using Row = LocalStudySeriesRow;

    LocalStudySeriesTableViewModel(const LocalBrowserParts &parts, LocalStudySeriesContext study);
    ~LocalStudySeriesTableViewModel() override;

    const LocalStudySeriesContext &study() const { return m_study; }
    const std::vector<Row> &allRows() const;

    /// Loads the series, unless a load is under way.
    QCoro::Task<> loadSeries();

    /// Deletes series from this machine; the study stays, if need be empty.
    QCoro::Task<BatchResult> deleteSeries(QList<Row> rows);

protected:
    Load makeLoad() override;
    Delete makeDelete(std::optional<::gateway::index::OutsideCloud> told) override;
    Count makeCount() override;

private:
    const LocalStudySeriesContext m_study;
};

} // namespace gateway::browser
