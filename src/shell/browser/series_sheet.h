#pragma once

#include "browser/browser_table.h"
#include "shell/browser/browser_parts.h"
#include "shell/controls/sheet.h"

namespace gateway::shell {

class BrowserPanel;

/// The series of one study, over the window of its studies.
///
/// Owner: the window; it goes when it is closed. Thread: main.
class SeriesSheet : public Sheet
{
    Q_OBJECT

public:
    /// What the sheet says of the study.
    struct Study
    {
        QString description;
        QString patientName;
        QString patientID;
        QString uid;
    };

    /// \param table       of the series.
    /// \param isSignedIn  whether they may be shown; without it they always may.
    SeriesSheet(const BrowserParts &parts,
                std::shared_ptr<browser::BrowserTable> table,
                const Study &study,
                std::function<bool()> isSignedIn,
                QWidget &window);
    ~SeriesSheet() override;

    BrowserPanel &panel() { return *m_panel; }

    /// Says no more whose study it is: who may know it has signed out.
    void hidePatient();

Q_SIGNALS:
    /// The operator left it.
    void left();

private:
    void leave();

    TableKeeper &m_keeper;
    std::shared_ptr<browser::BrowserTable> m_table;
    QWidget *m_heading;
    BrowserPanel *m_panel;
};

} // namespace gateway::shell
