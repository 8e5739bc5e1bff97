#pragma once

#include "browser/quorin_cloud_qido_series_table_view_model.h"
#include "browser/quorin_cloud_qido_study_table_view_model.h"
#include "browser/testing/browser_world.h"

namespace gateway::browser::testing {

/// The studies of the cloud as a table. Owner: a test. Thread: main.
struct CloudStudies : BrowserWorld
{
    void query() { finish(model.loadStudies(QStringLiteral("manual_query_button"))); }

    /// Three studies on their way out of the archive, which holds the first of them until `release`.
    void beginToDeleteThree()
    {
        for (const char *uid : {"1.1", "1.2", "1.3"}) {
            archive.addStudy(QString::fromLatin1(uid));
        }
        query();
        archive.hold(QStringLiteral("delete 1.1"));
        model.setSelectedIDs({QStringLiteral("1.1"), QStringLiteral("1.2"), QStringLiteral("1.3")});
        confirm(model);
    }

    QStringList uids() const
    {
        QStringList uids;
        for (const quint32 position : model.shown()) {
            uids.append(model.allRows()[position].studyInstanceUID);
        }
        return uids;
    }

    log::GatewayLogEvent only(log::GatewayLogAction action) const
    {
        const std::vector<log::GatewayLogEvent> events = log.events(action);
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? log::GatewayLogEvent() : events.front();
    }

    QuorinCloudQidoStudyTableViewModel model{parts()};
};

/// The series of one study, two of them. Owner: a test. Thread: main.
struct CloudSeries : BrowserWorld
{
    CloudSeries()
    {
        archive.addSeries(kStudy, QStringLiteral("1.9.1"), 10);
        archive.addSeries(kStudy, QStringLiteral("1.9.2"), 9);
    }

    void loadAll() { finish(model.loadSeries(QStringLiteral("sheet_open"))); }

    const QString kStudy = QStringLiteral("1.9");
    QuorinCloudQidoSeriesTableViewModel model{
        parts(),
        QuorinCloudSeriesStudyContext::of(
            QuorinCloudQidoStudyRow::of(object({{cloud_client::QrnDicomTag::StudyInstanceUID, kStudy}})))};
};

/// A detail of an event; empty where it has none of that name.
inline QString detail(const log::GatewayLogEvent &event, const char *key)
{
    return event.details.value_or(QMap<QString, QString>()).value(QString::fromLatin1(key));
}

} // namespace gateway::browser::testing
