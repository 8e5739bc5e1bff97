#include "shell/dashboard/cards/sent_items_card.h"

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/unified_card_header.h"
#include "shell/dashboard/cards/card_notice.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/cards/figure.h"
#include "shell/dashboard/cards/more_menu.h"
#include "shell/dashboard/cards/sent_notice.h"
#include "shell/dashboard/cards/state_binding.h"
#include "shell/dashboard/cards/storage_figures.h"
#include "shell/dashboard/cards/upload_speed_value_label.h"
#include "shell/theme/theme.h"
#include "state/gateway_app_state.h"
#include "upload/failure_watch.h"

#include <algorithm>
#include <utility>

namespace gateway::shell {

namespace {

using Field = state::GatewayField;

constexpr double kBytesInKb = 1024;

Figure *speedFigure(const Theme &theme, const state::GatewayAppState &appState)
{
    auto *label = new UploadSpeedValueLabel(theme, TypeStyle::h3);
    bind(*label, appState);
    return new Figure(theme, SentItemsCard::tr("Speed"), label);
}

} // namespace

SentItemsCard::SentItemsCard(const DashboardParts &parts, QWidget *parent)
    : Card(parts.theme, parent), m_theme(parts.theme), m_appState(parts.appState), m_auth(parts.cloud.auth),
      m_cloudStatus(parts.cloud.status), m_failures(parts.cloud.failures),
      m_cloudStorageViewModel(parts.cloud.storage), m_openQuorinCloud(parts.actions.openQuorinCloud),
      m_openFailedStudies(parts.actions.openFailedStudies),
      m_more(makeMoreMenu(
          parts.theme,
          {{tr("Open Quorin Cloud"),
            QStringLiteral("cloud.fill"),
            m_openQuorinCloud ? std::function([this] { openQuorinCloud(); }) : std::function<void()>()}})),
      m_inProgress(new Figure(parts.theme, tr("In Progress"), TypeStyle::h3)),
      m_uploaded(new Figure(parts.theme, tr("Uploaded"), TypeStyle::h1)),
      m_failed(new Figure(parts.theme, tr("Failed"), TypeStyle::h3)),
      m_speed(speedFigure(parts.theme, parts.appState)),
      m_storage(new StorageFigures(parts.theme, Color::green, tr("Quorin Cloud storage"))),
      m_notice(new CardNotice(parts.theme)), m_wasSignedIn(parts.cloud.auth.state().isSignedIn()),
      m_scope(parts.runtime.main, parts.runtime.pool)
{
    setAccessibleName(tr("Sent Items"));
    body().addWidget(new UnifiedCardHeader(
        m_theme, QStringLiteral("paperplane.fill"), tr("Sent Items"), Color::green, m_more));
    body().addLayout(
        countsBeside(m_theme, m_uploaded, {m_inProgress, m_failed, m_speed}, Space::inset, m_storage), 1);
    body().addWidget(m_notice);
    listen();
    showStorage();
}

SentItemsCard::~SentItemsCard()
{
    m_scope.close();
}

void SentItemsCard::listen()
{
    new StateBinding(
        m_appState,
        {Field::notSyncedImagesCount,
         Field::syncedImagesCount,
         Field::failedImagesCount,
         Field::uploadSpeedMbps},
        [this](const state::GatewayAppState &) { showFigures(); },
        this);
    connect(&m_auth, &account::QuorinAuthViewModel::changed, this, &SentItemsCard::authChanged);
    connect(&m_cloudStatus, &account::QuorinCloudStatusViewModel::changed, this, &SentItemsCard::showNotice);
    connect(&m_failures, &upload::FailureWatch::changed, this, &SentItemsCard::showNotice);
    connect(&m_cloudStorageViewModel,
            &account::QuorinCloudStorageLimitViewModel::changed,
            this,
            &SentItemsCard::showStorage);
    connect(m_failed, &Figure::activated, this, [this] { m_openFailedStudies(); });
    connect(m_notice, &CardNotice::actionRequested, this, &SentItemsCard::viewLogsRequested);
}

void SentItemsCard::openQuorinCloud()
{
    if (m_auth.state().isSignedIn()) {
        m_openQuorinCloud();
        return;
    }
    m_pendingQuorinCloudOpenAfterSignIn = true;
    m_appState.setShowSignInSheet(true);
}

void SentItemsCard::signInSheetClosed()
{
    m_pendingQuorinCloudOpenAfterSignIn = false; // a sign-in has taken it by now
}

void SentItemsCard::authChanged()
{
    const bool isSignedIn = m_auth.state().isSignedIn();
    if (std::exchange(m_wasSignedIn, isSignedIn) != isSignedIn) {
        m_scope.start(m_cloudStorageViewModel.refresh());
    }
    showNotice();
    showStorage();
    if (isSignedIn && std::exchange(m_pendingQuorinCloudOpenAfterSignIn, false)) {
        m_appState.setShowSignInSheet(false);
        m_openQuorinCloud();
    }
}

void SentItemsCard::showFigures()
{
    const state::GatewayFigures &figures = m_appState.figures();
    m_uploadingInProgress = figures.notSyncedImagesCount;
    m_uploadedFiles = figures.syncedImagesCount;
    m_failedFiles = figures.failedImagesCount;
    m_inProgress->setCount(m_uploadingInProgress);
    m_uploaded->setCount(m_uploadedFiles);
    m_failed->setCount(m_failedFiles);
    m_failed->setColor(m_failedFiles > 0 ? Color::red : Color::text);
    m_failed->setActivatable(m_failedFiles > 0 && m_openFailedStudies != nullptr,
                             tr("Show the studies whose upload failed"));
    showNotice();
}

void SentItemsCard::showStorage()
{
    if (!m_auth.state().isSignedIn()) {
        m_storage->setUnknown(tr("Sign in to load Quorin Cloud storage"));
        return;
    }
    const std::optional<account::StorageUsage> &usage = m_cloudStorageViewModel.storageUsage();
    const auto tooltip = [](const QString &used, const QString &free, const QString &total) {
        return tr("Used: %1\nFree: %2\nTotal: %3").arg(used, free, total);
    };
    if (!usage) {
        const QString none = QStringLiteral("--");
        m_storage->setUnknown(tooltip(none, none, none));
        return;
    }
    const double used = usage->usedInKb * kBytesInKb;
    const double total = usage->allowanceInKb * kBytesInKb;
    const double free = std::max(0.0, total - used);
    m_storage->setUsage(used, free, tooltip(gigabytesText(used), gigabytesText(free), gigabytesText(total)));
}

void SentItemsCard::showNotice()
{
    if (m_failedFiles > 0) {
        m_failures.refresh();
    }
    const account::SessionState session = m_auth.standing().state;
    m_notice->setWords(sentNotice(
        {m_uploadingInProgress,
         m_uploadedFiles,
         m_failedFiles,
         m_appState.figures().uploadSpeedMbps > 0,
         session == account::SessionState::signedIn || session == account::SessionState::notKnownYet,
         m_cloudStatus.isOnline() || !m_cloudStatus.lastCheckedAt(),
         m_failures.mostFrequent()}));
}

} // namespace gateway::shell
