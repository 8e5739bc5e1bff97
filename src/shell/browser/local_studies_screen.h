#pragma once

#include "browser/quorin_gateway_local_study_table_view_model.h"
#include "platform/concurrency/task_scope.h"
#include "shell/browser/browser_parts.h"
#include "shell/controls/canvas.h"

#include <QtCore/QPointer>

#include <memory>

namespace gateway::shell {

class BrowserPanel;
class FilterChip;
class InlineError;
class SeriesSheet;
class StudyActions;

/// The studies of this machine, with what became of their uploads.
///
/// Owner: its window. Thread: main.
class LocalStudiesScreen : public Canvas
{
    Q_OBJECT

public:
    LocalStudiesScreen(const BrowserParts &parts, const LocalBrowserDoor &door, QWidget *parent = nullptr);
    ~LocalStudiesScreen() override;

    /// Shows the studies with failed uploads alone, the first of them with its reasons.
    void showFailures();

    /// Images came into the index: the tables follow.
    void imagesChanged();

    browser::QuorinGatewayLocalStudyTableViewModel &table() { return *m_table; }
    BrowserPanel &panel() { return *m_panel; }
    SeriesSheet *seriesSheet() const;

private:
    void load();
    void openSeries(const QString &id);
    void showReasons();
    void chooseFirstFailure();

    const BrowserParts m_parts;
    const LocalBrowserDoor m_door;
    std::shared_ptr<browser::QuorinGatewayLocalStudyTableViewModel> m_table;
    BrowserPanel *m_panel;
    std::unique_ptr<StudyActions> m_actions;
    FilterChip *m_failedOnly;
    InlineError *m_reasons;
    QString m_shownReasons;
    bool m_isFirstWanted = false;
    QPointer<SeriesSheet> m_series;
    std::weak_ptr<browser::LocalTable> m_seriesTable; // the sheet's
    platform::TaskScope m_scope;                      // last: drained before the fields go
};

} // namespace gateway::shell
