#include "shell/browser/cloud_studies_screen.h"

#include "account/quorin_auth_view_model.h"
#include "browser/quorin_cloud_qido_series_table_view_model.h"
#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_table_view.h"
#include "shell/browser/query_filters.h"
#include "shell/browser/series_sheet.h"
#include "shell/browser/table_keeper.h"
#include "shell/controls/card.h"
#include "shell/controls/sheet.h"
#include "shell/theme/theme.h"

#include <utility>

namespace gateway::shell {

CloudStudiesScreen::CloudStudiesScreen(const BrowserParts &parts,
                                       const CloudBrowserDoor &door,
                                       QWidget *parent)
    : Canvas(parts.theme, parent), m_parts(parts), m_door(door),
      m_table(parts.keeper.takeBack<browser::QuorinCloudQidoStudyTableViewModel>(
          [&] { return std::make_shared<browser::QuorinCloudQidoStudyTableViewModel>(door.cloud); })),
      m_panel(new BrowserPanel({.theme = parts.theme,
                                .defaults = parts.defaults,
                                .main = parts.main,
                                .pool = parts.pool,
                                .table = *m_table,
                                .isSignedIn = [&auth = door.auth] { return auth.state().isSignedIn(); },
                                .chooseFile = parts.chooseFile})),
      m_wasSignedIn(door.auth.state().isSignedIn())
{
    m_table->sessionChanged(); // it may have outlived a sign-out
    const int margin = parts.theme.space(Space::page);
    auto *page = new QVBoxLayout(this);
    page->setContentsMargins(margin, margin, margin, margin);
    page->setSpacing(parts.theme.space(Space::wide));
    auto *filterCard = new Card(parts.theme);
    auto *filters = new QueryFilters(parts.theme, *m_table);
    filterCard->body().addWidget(filters);
    auto *card = new Card(parts.theme);
    card->body().addWidget(m_panel, 1);
    page->addWidget(filterCard);
    page->addWidget(card, 1);

    connect(filters, &QueryFilters::submitted, this, [this] { query(QStringLiteral("filter_submit")); });
    connect(filters, &QueryFilters::queryRequested, this, [this] {
        query(QStringLiteral("manual_query_button"));
    });
    connect(m_panel, &BrowserPanel::reloadRequested, this, [this] {
        query(QStringLiteral("manual_query_button"));
    });
    connect(m_panel, &BrowserPanel::detailsRequested, this, &CloudStudiesScreen::openSeries);
    connect(m_panel, &BrowserPanel::signInRequested, this, &CloudStudiesScreen::openSignIn);
    connect(&door.auth, &account::QuorinAuthViewModel::changed, this, &CloudStudiesScreen::authChanged);
}

CloudStudiesScreen::~CloudStudiesScreen()
{
    delete m_series;
    delete m_panel; // before its table
    m_table->disconnect();
    m_parts.keeper.keep(std::move(m_table));
}

void CloudStudiesScreen::query(const QString &trigger)
{
    if (m_door.auth.state().isSignedIn()) {
        m_table->startLoad(trigger);
    }
}

void CloudStudiesScreen::authChanged()
{
    const bool isSignedIn = m_door.auth.state().isSignedIn();
    const bool hasSignedIn = !std::exchange(m_wasSignedIn, isSignedIn) && isSignedIn;
    m_table->sessionChanged();
    m_panel->refreshState();
    if (const auto series = m_seriesTable.lock(); series != nullptr && m_series != nullptr) {
        series->sessionChanged();
        if (!isSignedIn) {
            m_series->hidePatient();
        }
        m_series->panel().refreshState();
        if (hasSignedIn) {
            series->startLoad(QStringLiteral("auth_state_changed"));
        }
    }
}

void CloudStudiesScreen::openSignIn()
{
    if (m_signIn == nullptr) {
        m_signIn = m_door.makeSignInSheet(window());
    }
    m_signIn->open();
}

SeriesSheet *CloudStudiesScreen::seriesSheet() const
{
    return m_series;
}

void CloudStudiesScreen::openSeries(const QString &id)
{
    const std::optional<quint32> position = m_table->rows()->position(id);
    if (!position || m_series != nullptr) {
        return;
    }
    const browser::QuorinCloudQidoStudyRow &row = m_table->allRows()[*position];
    auto series = std::make_shared<browser::QuorinCloudQidoSeriesTableViewModel>(
        m_door.cloud, browser::QuorinCloudSeriesStudyContext::of(row));
    m_seriesTable = series;
    m_series = new SeriesSheet(
        m_parts,
        series,
        {row.studyDescription, row.patientName, row.patientID, row.studyInstanceUID},
        [&auth = m_door.auth] { return auth.state().isSignedIn(); },
        *window());
    const auto loadSeries = [this](const QString &trigger) {
        if (const auto table = m_seriesTable.lock()) {
            table->startLoad(trigger);
        }
    };
    connect(&m_series->panel(), &BrowserPanel::reloadRequested, this, [this, loadSeries] {
        if (m_door.auth.state().isSignedIn()) {
            loadSeries(QStringLiteral("manual_refresh_button"));
        }
    });
    connect(&m_series->panel(), &BrowserPanel::signInRequested, this, &CloudStudiesScreen::openSignIn);
    m_series->open(&m_series->panel().currentPage());
    loadSeries(QStringLiteral("sheet_open"));
}

} // namespace gateway::shell
