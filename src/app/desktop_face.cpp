#include "app/desktop_face.h"

#include "platform/concurrency/main_thread.h"
#include "shell/desktop/desktop_screens.h"

#include <utility>

namespace gateway::app {

DesktopFace::DesktopFace(shell::Theme &theme, shell::DesktopPreferences &desktop)
    : m_theme(theme), m_desktop(desktop),
      m_importPanel(theme, [this] { return m_screens != nullptr ? m_screens->dashboardWindow() : nullptr; })
{
    platform::assertMainThread("DesktopFace");
}

DesktopFace::~DesktopFace() = default;

void DesktopFace::join(const shell::ScreenModels &models)
{
    m_screens = std::make_unique<shell::DesktopScreens>(m_theme, m_desktop, models);
}

void DesktopFace::showStatusBar()
{
    m_screens->showStatusItem();
}

void DesktopFace::showDashboard()
{
    m_screens->showDashboard();
}

void DesktopFace::showSignInSheet()
{
    m_screens->showSignInSheet();
}

void DesktopFace::showPreferences()
{
    m_screens->showPreferences();
}

void DesktopFace::showBugReport()
{
    m_screens->showBugReport();
}

void DesktopFace::showTermsRequired()
{
    m_screens->showTerms();
}

void DesktopFace::showSetupWizard(bool blocking)
{
    m_screens->showSetup(blocking);
}

bool DesktopFace::isSetupWizardVisible() const
{
    return m_screens->isSetupVisible();
}

void DesktopFace::showAlert(const QString &title, const QString &message)
{
    m_screens->showNotice(
        {QStringLiteral("exclamationmark.triangle.fill"), shell::Color::amber, title, message});
}

void DesktopFace::showNotice(const QString &title, const QString &message)
{
    m_screens->showNotice({QStringLiteral("info.circle"), shell::Color::blue, title, message});
}

void DesktopFace::ask(const updates::Alert &alert, std::function<void(bool)> answered)
{
    const bool isWarning = alert.style == updates::Alert::Style::warning;
    m_screens->showNotice({.symbol = isWarning ? QStringLiteral("exclamationmark.triangle.fill")
                                               : QStringLiteral("info.circle"),
                           .color = isWarning ? shell::Color::amber : shell::Color::blue,
                           .title = alert.title,
                           .message = alert.message,
                           .accept = alert.accept,
                           .dismiss = alert.dismiss,
                           .answered = std::move(answered)});
}

void DesktopFace::showUpdates(updates::AppcastUpdater &updater)
{
    m_screens->showUpdates(updater);
}

void DesktopFace::reopen()
{
    m_screens->showDashboard();
}

} // namespace gateway::app
