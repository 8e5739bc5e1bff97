#pragma once

#include "browser/quorin_gateway_local_study_table_view_model.h"
#include "platform/concurrency/task_scope.h"
#include "shell/browser/browser_parts.h"

#include <QtCore/QObject>

class QMenu;

namespace gateway::shell {

class BrowserPanel;

/// What helps with one study of this machine: to send what it lacks, to show its files, to follow them in the
/// log.
///
/// Owner: its screen. Thread: main.
class StudyActions : public QObject
{
    Q_OBJECT

public:
    /// \param table, panel  outlive this.
    StudyActions(const BrowserParts &parts,
                 const LocalBrowserDoor &door,
                 browser::QuorinGatewayLocalStudyTableViewModel &table,
                 BrowserPanel &panel);
    ~StudyActions() override;

    /// Adds them to the menu about a study.
    void addTo(QMenu *menu, const QString &study);

    void sendNow(const QString &study);

private:
    bool lacksNothing(const QString &study) const;
    QCoro::Task<> showInFolder(QString study);
    QCoro::Task<> followInLog(QString study);

    const BrowserParts m_parts;
    const LocalBrowserDoor m_door;
    browser::QuorinGatewayLocalStudyTableViewModel &m_table;
    BrowserPanel &m_panel;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
