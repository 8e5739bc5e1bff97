#include "shell/wizard/summary_page.h"

#include "platform/concurrency/clock.h"
#include "platform/files/file_error.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/state_label.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "shell/wizard/check_list.h"
#include "shell/wizard/setup_summary_pdf.h"
#include "wizard/setup_summary_text.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using wizard::GatewaySetupWizardViewModel;

SummaryPage::SummaryPage(const Parts &parts)
    : WizardPage(parts.theme, parts.setup), m_parts(parts),
      m_note(new TextLabel(parts.theme, {}, TypeStyle::body, Color::text2)), m_rows(new QGridLayout),
      m_checks(new CheckList(parts.theme)), m_ready(new StateLabel(parts.theme)),
      m_startsWithSession(new Switch(parts.theme, tr("Start when I sign in to this computer"))),
      m_export(new Button(
          parts.theme, ButtonKind::secondary, tr("Export PDF"), QStringLiteral("square.and.arrow.up"))),
      m_exportMessage(new TextLabel(parts.theme, {}, TypeStyle::small))
{
    addNote();
    addSettings();
    addChecks();
    addEnd();
    endCards();
    connect(m_checks, &CheckList::focusGone, this, &WizardPage::focusGone);
    connect(m_checks, &CheckList::fixRequested, &setup(), &GatewaySetupWizardViewModel::applyFixAction);
    connect(m_export, &QPushButton::clicked, this, &SummaryPage::exportSummary);
    m_startsWithSession->setChecked(parts.autostart.isEnabled());
    refresh();
}

void SummaryPage::addNote()
{
    m_noteCard = &addCard({});
    m_note->setWordWrap(true);
    m_noteCard->body().addWidget(m_note);
}

void SummaryPage::addSettings()
{
    Card &card = addCard(tr("Settings to be Applied"));
    card.body().addWidget(paragraph(tr("Review these values before finishing setup.")));
    m_rows->setHorizontalSpacing(theme().space(Space::page));
    m_rows->setVerticalSpacing(theme().space(Space::tight));
    m_rows->setColumnStretch(1, 1);
    for (const wizard::GatewaySetupSummaryRow &row : setup().summaryRows()) {
        auto *value = new TextLabel(theme(), row.value, TypeStyle::bodyStrong);
        value->setWordWrap(true);
        value->setAccessibleDescription(row.title);
        const int line = m_rows->rowCount();
        m_rows->addWidget(
            new TextLabel(theme(), row.title, TypeStyle::body, Color::text2), line, 0, Qt::AlignTop);
        m_rows->addWidget(value, line, 1);
        m_values.append(value);
    }
    card.body().addLayout(m_rows);
}

void SummaryPage::addChecks()
{
    Card &card = addCard({});
    auto *head = new QHBoxLayout;
    auto *heading = new TextLabel(theme(), tr("Preflight Checks"), TypeStyle::h3);
    heading->setWordWrap(true);
    head->addWidget(heading, 1);
    head->addWidget(m_ready);
    card.body().addLayout(head);
    card.body().addWidget(m_checks);
}

void SummaryPage::addEnd()
{
    Card &card = addCard({});
    card.body().addWidget(paragraph(tr("When you click Finish Setup, Quorin Gateway saves these settings and "
                                       "restarts the listener.")));
    card.body().addWidget(m_startsWithSession);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::gap));
    m_exportMessage->setWordWrap(true);
    row->addWidget(m_export);
    row->addWidget(m_exportMessage, 1);
    card.body().addLayout(row);
}

void SummaryPage::showRows()
{
    const QList<wizard::GatewaySetupSummaryRow> rows = setup().summaryRows();
    for (qsizetype row = 0; row < rows.size(); ++row) {
        m_values.at(row)->setText(rows.at(row).value);
    }
}

void SummaryPage::refresh()
{
    showRows();
    m_note->setText(setup().accountMessage().value_or(QString()));
    m_noteCard->setVisible(setup().accountMessage().has_value());
    m_checks->setChecks(setup().summaryPreflightChecks());
    const bool isReady = setup().canFinish() || setup().isApplying();
    m_ready->setState(isReady ? tr("Ready to Apply") : tr("Not Ready to Apply"),
                      isReady ? Color::green : Color::amber);
    m_startsWithSession->setEnabled(!setup().isApplying());
}

std::optional<QString> SummaryPage::applyAutostart()
{
    if (m_startsWithSession->isChecked() == m_parts.autostart.isEnabled()) {
        return std::nullopt;
    }
    try {
        m_parts.autostart.setEnabled(m_startsWithSession->isChecked());
        return std::nullopt;
    } catch (const platform::FileError &error) {
        return tr("The start with the session can't be changed: %1").arg(error.message());
    }
}

void SummaryPage::exportSummary()
{
    m_export->setBusy(true); // until a place is chosen, or none
    m_exportMessage->clear();
    const QDateTime now = m_parts.clock.now();
    m_parts.chooseExportFile(window(), wizard::setupSummaryFileName(now), [this, now](const QString &path) {
        if (!path.isEmpty()) {
            writeSummary(path, now);
        }
        m_export->setBusy(false);
    });
}

void SummaryPage::writeSummary(const QString &path, const QDateTime &now)
{
    try {
        writeSetupSummary(
            path, wizard::setupSummaryText(now, setup().summaryRows(), setup().summaryPreflightChecks()));
        showExportMessage(tr("Setup summary exported to %1").arg(path), false);
    } catch (const SetupSummaryPDFExportError &error) {
        showExportMessage(tr("Export failed: %1").arg(error.description()), true);
    }
}

void SummaryPage::showExportMessage(const QString &message, bool isError)
{
    m_exportMessage->setText(message);
    m_exportMessage->setColor(isError ? Color::red : Color::green);
}

} // namespace gateway::shell
