#pragma once

#include "browser/cloud_table.h"
#include "browser/local_table.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <memory>

class QWidget;

namespace gateway::account {
class QuorinAuthViewModel;
}

namespace gateway::platform {
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::shell {

class Sheet;
class TableKeeper;
class Theme;

/// What both browsers' windows work with; all outlive them.
struct BrowserParts
{
    const Theme &theme;
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool; ///< for disks
    TableKeeper &keeper;

    /// Where an export goes, chosen by a person; empty when they changed their mind.
    std::function<QString(QWidget *parent, const QString &suggestedName)> chooseFile;
};

/// What the window over the cloud needs beside.
struct CloudBrowserDoor
{
    browser::CloudBrowserParts cloud;
    account::QuorinAuthViewModel &auth;
    std::function<Sheet *(QWidget *window)> makeSignInSheet; ///< the window owns it
};

/// What the window over this machine needs beside.
struct LocalBrowserDoor
{
    browser::LocalBrowserParts local;

    /// Asks for an upload of what a study lacks in the cloud, also where it waits for a later time.
    std::function<void(const QString &study)> sendNow;

    /// Shows a folder in the desktop's file browser; false when that can't be done.
    std::function<bool(const QString &directory)> openFolder;

    /// Shows the lives of images in the log. \param hashes  as the log names them.
    std::function<void(const QStringList &hashes)> followInLog;
};

} // namespace gateway::shell
