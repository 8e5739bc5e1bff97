#pragma once

#include "platform/autostart/autostart.h"
#include "shell/wizard/wizard_page.h"
#include "shell/wizard/wizard_parts.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <optional>

class QGridLayout;

namespace gateway::platform {
class Clock;
}

namespace gateway::shell {

class Button;
class Card;
class CheckList;
class StateLabel;
class Switch;
class TextLabel;

/// What will be applied, and what was checked before; keeps it as a document on request.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class SummaryPage final : public WizardPage
{
    Q_OBJECT

public:
    struct Parts
    {
        const Theme &theme;
        wizard::GatewaySetupWizardViewModel &setup;
        platform::Autostart &autostart;
        platform::Clock &clock;
        decltype(WizardParts::Dialogs::chooseExportFile) chooseExportFile;
    };

    explicit SummaryPage(const Parts &parts);

    void refresh() override;

    /// Makes the start with the desktop's session as it is chosen. \return what stood in the way, or nothing.
    std::optional<QString> applyAutostart();

private:
    void addNote();
    void addSettings();
    void addChecks();
    void addEnd();
    void showRows();
    void exportSummary();
    void writeSummary(const QString &path, const QDateTime &now);
    void showExportMessage(const QString &message, bool isError);

    const Parts m_parts;
    Card *m_noteCard;
    TextLabel *m_note;
    QGridLayout *m_rows;
    QList<TextLabel *> m_values;
    CheckList *m_checks;
    StateLabel *m_ready;
    Switch *m_startsWithSession;
    Button *m_export;
    TextLabel *m_exportMessage;
};

} // namespace gateway::shell
