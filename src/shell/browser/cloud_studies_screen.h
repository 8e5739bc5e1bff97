#pragma once

#include "browser/quorin_cloud_qido_study_table_view_model.h"
#include "shell/browser/browser_parts.h"
#include "shell/controls/canvas.h"

#include <QtCore/QPointer>

namespace gateway::browser {
class QuorinCloudQidoSeriesTableViewModel;
}

namespace gateway::shell {

class BrowserPanel;
class SeriesSheet;
class Sheet;

/// The studies of the cloud: filters, and what a query for them found.
///
/// Owner: its window. Thread: main.
class CloudStudiesScreen : public Canvas
{
    Q_OBJECT

public:
    CloudStudiesScreen(const BrowserParts &parts, const CloudBrowserDoor &door, QWidget *parent = nullptr);
    ~CloudStudiesScreen() override;

    browser::QuorinCloudQidoStudyTableViewModel &table() { return *m_table; }
    BrowserPanel &panel() { return *m_panel; }
    SeriesSheet *seriesSheet() const;

private:
    void query(const QString &trigger);
    void authChanged();
    void openSeries(const QString &id);
    void openSignIn();

    const BrowserParts m_parts;
    const CloudBrowserDoor m_door;
    std::shared_ptr<browser::QuorinCloudQidoStudyTableViewModel> m_table;
    BrowserPanel *m_panel;
    QPointer<SeriesSheet> m_series;
    std::weak_ptr<browser::QuorinCloudQidoSeriesTableViewModel> m_seriesTable;
    QPointer<Sheet> m_signIn;
    bool m_wasSignedIn;
};

} // namespace gateway::shell
