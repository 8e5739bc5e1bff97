#pragma once

#include "browser/cloud_table.h"
#include "browser/quorin_cloud_qido_study_row.h"

#include <QtCore/QDate>

namespace gateway::browser {

/// Which day the studies asked for are of.
enum class QuorinCloudStudyDateFilterMode
{
    any,
    today,
    yesterday,
    custom
};

/// What a query of studies asks for, as a person filled it in. Thread: a value, any.
struct QuorinCloudStudyFilters
{
    QString patientNameFilter;
    QString patientIDFilter;
    QString accessionNumberFilter;
    QString studyDescriptionFilter;
    QString referringPhysicianFilter;
    QString institutionNameFilter;
    QString modalityFilter;
    bool usePatientBirthDateFilter = false;
    QDate patientBirthDateFilter;
    QuorinCloudStudyDateFilterMode studyDateFilterMode = QuorinCloudStudyDateFilterMode::any;
    QDate customStudyDateFilter;

    /// Empty ones. \param today  here.
    static QuorinCloudStudyFilters none(const QDate &today);

    /// The query for them. \param today  here.
    cloud_client::QrnQidoQueryRequest request(const QDate &today) const;

    bool operator==(const QuorinCloudStudyFilters &) const = default;
};

/// The studies of the cloud that a query found, which runs on a person's request alone.
///
/// Owner: whoever shows it. Thread: main.
class QuorinCloudQidoStudyTableViewModel final : public CloudTable
{
    Q_OBJECT

public:
    using Row = QuorinCloudQidoStudyRow;

    explicit QuorinCloudQidoStudyTableViewModel(const CloudBrowserParts &parts);
    ~QuorinCloudQidoStudyTableViewModel() override;

    const std::vector<Row> &allRows() const;

    const QuorinCloudStudyFilters &filters() const { return m_filters; }
    void setFilters(const QuorinCloudStudyFilters &filters);

    /// Empties the filters; rows, search and messages stay, and nothing is asked for.
    void clearFilters();

    /// A query was run since the last reset.
    bool hasExecutedQuery() const { return m_hasExecutedQuery; }

    /// Runs the query, unless one is under way. \param trigger  a short word for the log.
    QCoro::Task<> loadStudies(QString trigger);

    /// Deletes studies, each once.
    QCoro::Task<BatchResult> deleteStudies(QList<Row> rows);

    void resetAfterSignOut() override;

protected:
    Load makeLoad() override;
    QString loadStarts(const QString &trigger) override;
    QString triggerAfterDeletion() const override { return QStringLiteral("post_delete"); }

private:
    QDate today() const;

    QuorinCloudStudyFilters m_filters;
    bool m_hasExecutedQuery = false;
};

} // namespace gateway::browser
