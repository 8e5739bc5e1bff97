#include "shell/wizard/local_files_page.h"

#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/folder_rows.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "shell/wizard/check_list.h"

#include <QtWidgets/QHBoxLayout>

#include <algorithm>
#include <utility>

namespace gateway::shell {

using core::GatewayAutoDeleteMode;
using wizard::GatewaySetupIssue;
using wizard::GatewaySetupStep;
using wizard::GatewaySetupWizardViewModel;
using Fix = wizard::GatewaySetupIssueFixAction;

namespace {

constexpr int kAmountWidth = 96;

int indexOf(GatewayAutoDeleteMode mode)
{
    const auto &all = core::kAllGatewayAutoDeleteModes;
    return static_cast<int>(std::find(all.begin(), all.end(), mode) - all.begin());
}

QString valueOf(const QList<wizard::GatewaySetupSummaryRow> &rows, const QString &id)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const auto &row) { return row.id == id; });
    return found == rows.end() ? QString() : found->value;
}

} // namespace

LocalFilesPage::LocalFilesPage(const Theme &theme,
                               GatewaySetupWizardViewModel &setup,
                               ChooseFolder chooseFolder)
    : WizardPage(theme, setup), m_chooseFolder(std::move(chooseFolder)),
      m_folder(new TextLabel(theme, {}, TypeStyle::body)),
      m_choose(new Button(theme, ButtonKind::secondary, tr("Choose Folder…"), QStringLiteral("folder"))),
      m_default(new Button(theme, ButtonKind::secondary, tr("Use Default"))),
      m_restore(new Button(theme, ButtonKind::secondary, tr("Restore Recommended Defaults"))),
      m_mode(new SegmentedControl(theme)), m_amount(new QWidget), m_value(new TextField(theme)),
      m_unit(new TextLabel(theme, {}, TypeStyle::body, Color::text2)), m_checks(new CheckList(theme))
{
    addStorage();
    addRetention();
    addCard(tr("Checks")).body().addWidget(m_checks);
    endCards();
    listen();
    refresh();
}

void LocalFilesPage::addStorage()
{
    Card &card = addCard(tr("Storage Location"));
    addFolderRows(card, theme(), tr("Incoming Files Folder"), m_folder, {m_choose, m_default});
    card.body().addWidget(m_restore, 0, Qt::AlignLeft);
}

void LocalFilesPage::addRetention()
{
    Card &card = addCard(tr("Retention Policy"));
    card.body().addWidget(
        new TextLabel(theme(), tr("Auto-delete synced local files"), TypeStyle::small, Color::text2));
    m_mode->addSegment(tr("Never"));
    m_mode->addSegment(tr("Days"));
    m_mode->addSegment(tr("Months"));
    m_mode->setAccessibleName(tr("Auto-delete synced local files"));
    card.body().addWidget(m_mode, 0, Qt::AlignLeft);
    auto *row = new QHBoxLayout(m_amount);
    row->setContentsMargins({});
    row->setSpacing(theme().space(Space::gap));
    auto *name = new TextLabel(theme(), tr("Value"), TypeStyle::body, Color::text2);
    name->setBuddy(m_value);
    m_value->setAccessibleName(tr("Value"));
    m_value->setFixedWidth(kAmountWidth);
    row->addWidget(name);
    row->addWidget(m_value);
    row->addWidget(m_unit);
    row->addStretch(1);
    card.body().addWidget(m_amount);
    card.body().addWidget(
        paragraph(tr("Only items successfully synced to Quorin Cloud are eligible for automatic deletion.")));
}

void LocalFilesPage::listen()
{
    connect(m_choose, &QPushButton::clicked, this, &LocalFilesPage::chooseFolder);
    connect(
        m_default, &QPushButton::clicked, this, [this] { setup().applyFixAction(Fix::useDefaultFolder); });
    connect(m_restore, &QPushButton::clicked, this, [this] {
        setup().applyFixAction(Fix::restoreRecommendedLocalDefaults);
    });
    connect(m_mode, &SegmentedControl::currentChanged, this, [this](int index) {
        const auto mode = core::kAllGatewayAutoDeleteModes.at(static_cast<std::size_t>(index));
        if (mode != setup().draft().autoDeleteMode) {
            setup().updateAutoDeleteMode(mode);
        }
    });
    connect(
        m_value, &QLineEdit::textEdited, &setup(), &GatewaySetupWizardViewModel::updateAutoDeleteValueText);
    connect(m_value, &QLineEdit::returnPressed, this, &WizardPage::goOnRequested);
    connect(m_checks, &CheckList::focusGone, this, &WizardPage::focusGone);
    connect(m_checks, &CheckList::fixRequested, &setup(), &GatewaySetupWizardViewModel::applyFixAction);
}

void LocalFilesPage::chooseFolder()
{
    m_chooseFolder(window(), [this](const QString &folder) {
        if (!folder.isEmpty()) {
            setup().updateDestinationFolder(folder);
        }
    });
}

QWidget *LocalFilesPage::firstField()
{
    return m_choose;
}

void LocalFilesPage::refresh()
{
    const wizard::GatewaySetupDraft &draft = setup().draft();
    m_folder->setText(valueOf(setup().summaryRows(), QStringLiteral("incoming_folder")));
    m_default->setEnabled(draft.destinationFolder.has_value());
    m_mode->setCurrentIndex(indexOf(draft.autoDeleteMode));
    m_amount->setVisible(draft.autoDeleteMode != GatewayAutoDeleteMode::never);
    m_unit->setText(draft.autoDeleteMode == GatewayAutoDeleteMode::months ? tr("month(s) after upload")
                                                                          : tr("day(s) after upload"));
    if (m_value->text() != draft.autoDeleteValueText) {
        m_value->setText(draft.autoDeleteValueText);
    }
    const QList<GatewaySetupIssue> issues = setup().issuesForStep(GatewaySetupStep::localFiles);
    m_value->setInvalid(std::any_of(issues.begin(), issues.end(), [](const GatewaySetupIssue &issue) {
        return issue.field == wizard::GatewaySetupIssueField::autoDeleteValue;
    }));
    m_checks->setStep(issues,
                      setup().summaryPreflightChecks(),
                      {QStringLiteral("folder_bookmark"), QStringLiteral("folder_writable")});
}

} // namespace gateway::shell
