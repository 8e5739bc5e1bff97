#include "shell/dashboard/frame/dashboard_header.h"

#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/controls/wrap_row.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

DashboardHeader::DashboardHeader(const Theme &theme, bool offersPreferences, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_title(new TextLabel(theme, {}, TypeStyle::h1)),
      m_viewLogs(new CapsuleButton(theme, tr("View Logs"), QStringLiteral("list.bullet.rectangle"))),
      m_preferences(new CapsuleButton(theme, tr("Preferences"), QStringLiteral("gearshape.fill"))),
      m_manualUpload(new CapsuleButton(theme, tr("Manual Upload"), QStringLiteral("arrow.up.doc.fill")))
{
    auto *column = new QVBoxLayout(this);
    auto *row = new WrapRow(nullptr, theme.space(Space::tight));
    column->addLayout(row);
    row->addWidget(m_title);
    for (Button *action : {m_viewLogs, m_preferences, m_manualUpload}) {
        row->addWidget(action);
    }
    setSideMargin(theme.space(Space::page));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum); // as many lines as it needs
    m_preferences->setVisible(offersPreferences);
    m_preferences->setToolTip(tr("Preferences (Ctrl+,)"));
    m_manualUpload->setToolTip(tr("Import files or folders from this computer"));
    setScreen(Screen::overview);
    connect(m_viewLogs, &QAbstractButton::clicked, this, &DashboardHeader::viewLogsRequested);
    connect(m_preferences, &QAbstractButton::clicked, this, &DashboardHeader::preferencesRequested);
    connect(m_manualUpload, &QAbstractButton::clicked, this, &DashboardHeader::manualUploadRequested);
}

void DashboardHeader::setScreen(Screen screen)
{
    m_title->setText(screen == Screen::overview ? QStringLiteral("Quorin Gateway")
                                                : tr("Transfer event logs"));
    m_viewLogs->setVisible(screen != Screen::logs); // they are in view there
}

void DashboardHeader::setSideMargin(int margin)
{
    layout()->setContentsMargins(margin, m_theme.space(Space::inset), margin, 0);
}

} // namespace gateway::shell
