#include "shell/browser/local_studies_screen.h"

#include "browser/local_study_series_table_view_model.h"
#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_table_view.h"
#include "shell/browser/series_sheet.h"
#include "shell/browser/study_actions.h"
#include "shell/browser/table_keeper.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/chip.h"
#include "shell/controls/inline_error.h"
#include "shell/theme/theme.h"

#include <utility>

namespace gateway::shell {

LocalStudiesScreen::LocalStudiesScreen(const BrowserParts &parts,
                                       const LocalBrowserDoor &door,
                                       QWidget *parent)
    : Canvas(parts.theme, parent), m_parts(parts), m_door(door),
      m_table(parts.keeper.takeBack<browser::QuorinGatewayLocalStudyTableViewModel>(
          [&] { return std::make_shared<browser::QuorinGatewayLocalStudyTableViewModel>(door.local); })),
      m_panel(new BrowserPanel({.theme = parts.theme,
                                .defaults = parts.defaults,
                                .main = parts.main,
                                .pool = parts.pool,
                                .table = *m_table,
                                .chooseFile = parts.chooseFile})),
      m_actions(std::make_unique<StudyActions>(parts, door, *m_table, *m_panel)),
      m_failedOnly(new FilterChip(parts.theme, tr("Failed Only"))), m_reasons(new InlineError(parts.theme)),
      m_scope(parts.main, parts.pool)
{
    const int margin = parts.theme.space(Space::page);
    auto *page = new QVBoxLayout(this);
    page->setContentsMargins(margin, margin, margin, margin);
    auto *card = new Card(parts.theme);
    page->addWidget(card);
    auto *refresh =
        new Button(parts.theme, ButtonKind::secondary, tr("Refresh"), QStringLiteral("arrow.clockwise"));
    refresh->setToolTip(tr("Refresh (F5)"));
    m_panel->addTool(m_failedOnly);
    m_panel->addTool(refresh);
    card->body().addWidget(m_panel, 1);
    card->body().addWidget(m_reasons);
    m_reasons->hide();

    connect(refresh, &QAbstractButton::clicked, this, &LocalStudiesScreen::load);
    connect(m_panel, &BrowserPanel::reloadRequested, this, &LocalStudiesScreen::load);
    connect(m_panel, &BrowserPanel::detailsRequested, this, &LocalStudiesScreen::openSeries);
    connect(m_failedOnly, &QAbstractButton::toggled, m_table.get(), [this](bool isOn) {
        m_table->setShowsFailuresOnly(isOn);
        showReasons();
    });
    connect(m_panel->view().selectionModel(),
            &QItemSelectionModel::currentRowChanged,
            this,
            &LocalStudiesScreen::showReasons);
    connect(m_table.get(), &browser::BrowserTable::rowsChanged, this, [this] {
        chooseFirstFailure();
        showReasons();
    });
    connect(m_reasons, &InlineError::actionRequested, this, [this] {
        m_actions->sendNow(m_panel->view().currentId());
    });
    connect(m_panel, &BrowserPanel::menuOpens, m_actions.get(), &StudyActions::addTo);
    load();
}

LocalStudiesScreen::~LocalStudiesScreen()
{
    m_scope.close();
    m_panel->view().selectionModel()->disconnect(this);
    m_table->disconnect(this);
    delete m_series;
    m_actions.reset();
    delete m_panel; // before its table
    m_parts.keeper.keep(std::move(m_table));
}

void LocalStudiesScreen::load()
{
    m_scope.start(m_table->loadStudies());
}

void LocalStudiesScreen::showFailures()
{
    m_isFirstWanted = true;
    m_table->setSearchText({}); // an old search would hide some of them
    m_failedOnly->setChecked(true);
    chooseFirstFailure();
}

void LocalStudiesScreen::imagesChanged()
{
    m_table->imagesChanged();
    if (const auto series = m_seriesTable.lock()) {
        series->imagesChanged();
    }
}

void LocalStudiesScreen::chooseFirstFailure()
{
    if (m_isFirstWanted && m_failedOnly->isChecked() && !m_table->shown().empty()) {
        m_isFirstWanted = false;
        m_panel->view().selectRow(0);
        m_panel->view().setFocus();
    }
}

/// Of the current study, why its uploads failed and what to do.
void LocalStudiesScreen::showReasons()
{
    const std::optional<quint32> position = m_table->rows()->position(m_panel->view().currentId());
    const QString reasons = position ? m_table->allRows()[*position].failures : QString();
    if (reasons == m_shownReasons) {
        return;
    }
    m_shownReasons = reasons;
    m_reasons->setVisible(!reasons.isEmpty());
    if (!reasons.isEmpty()) {
        const std::int64_t failed = m_table->allRows()[*position].failedImageCount;
        m_reasons->showMessage(
            tr("Images of this study that could not be sent: %L1").arg(failed), reasons, tr("Send Now"));
    }
}

SeriesSheet *LocalStudiesScreen::seriesSheet() const
{
    return m_series;
}

void LocalStudiesScreen::openSeries(const QString &id)
{
    const std::optional<quint32> position = m_table->rows()->position(id);
    if (!position || m_series != nullptr) {
        return;
    }
    const browser::QuorinGatewayLocalStudyRow &row = m_table->allRows()[*position];
    auto series = std::make_shared<browser::LocalStudySeriesTableViewModel>(
        m_door.local, browser::LocalStudySeriesContext::of(row));
    m_seriesTable = series;
    m_series = new SeriesSheet(m_parts,
                               series,
                               {row.studyDescription, row.patientName, row.patientID, row.studyInstanceUID},
                               {},
                               *window());
    const auto loadSeries = [this, weak = std::weak_ptr(series)] {
        if (const auto table = weak.lock()) {
            m_scope.start(table->loadSeries());
        }
    };
    connect(&m_series->panel(), &BrowserPanel::reloadRequested, this, loadSeries);
    connect(m_series, &SeriesSheet::left, this, &LocalStudiesScreen::load);
    m_series->open(&m_series->panel().currentPage());
    loadSeries();
}

} // namespace gateway::shell
