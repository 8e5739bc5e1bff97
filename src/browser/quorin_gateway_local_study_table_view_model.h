#pragma once

#include "browser/local_table.h"
#include "browser/quorin_gateway_local_study_row.h"

namespace gateway::browser {

/// The studies of this machine.
///
/// Owner: whoever shows it. Thread: main.
class QuorinGatewayLocalStudyTableViewModel final : public LocalTable
{
    Q_OBJECT

public:
    using Row = QuorinGatewayLocalStudyRow;

    explicit QuorinGatewayLocalStudyTableViewModel(const LocalBrowserParts &parts);
    ~QuorinGatewayLocalStudyTableViewModel() override;

    const std::vector<Row> &allRows() const;

    /// Loads the studies, unless a load is under way.
    QCoro::Task<> loadStudies();

    /// The files of a study, those whose upload failed first; at most `limit`.
    QCoro::Task<QList<QUrl>> filesOf(QString study, int limit);

    /// Deletes studies from this machine.
    QCoro::Task<BatchResult> deleteStudies(QList<Row> rows);

protected:
    Load makeLoad() override;
    Delete makeDelete(std::optional<::gateway::index::OutsideCloud> told) override;
    Count makeCount() override;
};

} // namespace gateway::browser
