#pragma once

#include "shell/browser/browser_parts.h"
#include "shell/windows/window_controller.h"

#include <QtCore/QPointer>

namespace gateway::shell {

class CloudStudiesScreen;
class LocalStudiesScreen;

/// The window "Local Studies". Closed it goes, so that the next opening loads anew.
///
/// Owner: DesktopScreens. Thread: main.
class LocalStudiesWindowController
{
public:
    LocalStudiesWindowController(const BrowserParts &parts, const LocalBrowserDoor &door);

    /// Shows the window, or raises the one that is there.
    void show() { m_controller.show(); }

    /// Shows it with the studies whose uploads failed.
    void showFailures();

    /// Images came into the index: what is shown follows.
    void imagesChanged();

    QWidget *window() const { return m_controller.window(); }
    LocalStudiesScreen *screen() const;

private:
    QPointer<LocalStudiesScreen> m_screen;
    WindowController m_controller;
};

/// The window "Quorin Cloud Studies". Closed it goes, so that the next opening begins empty.
///
/// Owner: DesktopScreens. Thread: main.
class QuorinCloudStudiesWindowController
{
public:
    QuorinCloudStudiesWindowController(const BrowserParts &parts, const CloudBrowserDoor &door);

    /// Shows the window, or raises the one that is there.
    void show() { m_controller.show(); }

    QWidget *window() const { return m_controller.window(); }
    CloudStudiesScreen *screen() const;

private:
    QPointer<CloudStudiesScreen> m_screen;
    WindowController m_controller;
};

} // namespace gateway::shell
