#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <functional>

namespace gateway::receive {

/// What an open panel is to say and to allow. Thread: a plain value.
struct ImportPanelRequest
{
    QString title;
    QString message;
    QString confirmButton;
    bool allowsFiles = true;
    bool allowsDirectories = true;
    bool allowsMultipleSelection = true;
    bool canCreateDirectories = false;
    bool resolvesAliases = true;
    bool treatsFilePackagesAsDirectories = true;
};

/// The desktop's open panel.
///
/// Owner: app. Thread: main.
class ImportPanel
{
public:
    virtual ~ImportPanel() = default;

    /// Shows a modal panel.
    ///
    /// \param confirmed  called once with what was chosen, on main; never when the panel was cancelled.
    virtual void present(const ImportPanelRequest &request, std::function<void(QList<QUrl>)> confirmed) = 0;
};

} // namespace gateway::receive
