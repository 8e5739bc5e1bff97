#include "shell/browser/browser_window_controllers.h"

#include "shell/browser/cloud_studies_screen.h"
#include "shell/browser/local_studies_screen.h"

namespace gateway::shell {

namespace {

constexpr QSize kContentSize{1200, 700};
constexpr QSize kLeastSize{960, 600};

} // namespace

LocalStudiesWindowController::LocalStudiesWindowController(const BrowserParts &parts,
                                                           const LocalBrowserDoor &door)
    : m_controller(parts.defaults,
                   {QStringLiteral("localStudies"),
                    LocalStudiesScreen::tr("Local Studies"),
                    kContentSize,
                    kLeastSize,
                    false},
                   [this, parts, door] {
                       m_screen = new LocalStudiesScreen(parts, door);
                       return m_screen;
                   })
{
}

LocalStudiesScreen *LocalStudiesWindowController::screen() const
{
    return m_screen;
}

void LocalStudiesWindowController::showFailures()
{
    show();
    m_screen->showFailures();
}

void LocalStudiesWindowController::imagesChanged()
{
    if (m_screen != nullptr) {
        m_screen->imagesChanged();
    }
}

QuorinCloudStudiesWindowController::QuorinCloudStudiesWindowController(const BrowserParts &parts,
                                                                       const CloudBrowserDoor &door)
    : m_controller(parts.defaults,
                   {QStringLiteral("cloudStudies"),
                    CloudStudiesScreen::tr("Quorin Cloud Studies"),
                    kContentSize,
                    kLeastSize,
                    false},
                   [this, parts, door] {
                       m_screen = new CloudStudiesScreen(parts, door);
                       return m_screen;
                   })
{
}

CloudStudiesScreen *QuorinCloudStudiesWindowController::screen() const
{
    return m_screen;
}

} // namespace gateway::shell
