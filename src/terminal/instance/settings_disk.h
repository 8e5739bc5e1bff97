#pragma once

#include "wizard/folder_check.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::terminal {

/// What is at the paths that settings name.
struct SettingsDisk
{
    wizard::ValidateFolder folder;

    /// Why a file can't be taken for one with certificates of authorities (PEM), or nothing.
    std::function<std::optional<QString>(const QString &file)> certificateFileIssue;

    /// The disks of this machine: each look blocks until they answer. Thread: any.
    static SettingsDisk here();
};

} // namespace gateway::terminal
