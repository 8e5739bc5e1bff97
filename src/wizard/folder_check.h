#pragma once

#include "platform/files/file_system.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::wizard {

/// What was found out about a folder for incoming files; each issue is a sentence for people.
struct FolderValidationResult
{
    std::optional<QString> path;
    std::optional<QString> bookmarkIssue;
    std::optional<QString> writeIssue;

    bool operator==(const FolderValidationResult &) const = default;
};

/// Checks that the folder exists, may be entered, and takes a file, by writing one and removing it; and that
/// its volume can sync folders, without which the listener could acknowledge nothing.
///
/// Thread: any; blocks on the disk.
FolderValidationResult validateFolder(const QString &folder,
                                      platform::FileSystem &files = platform::systemFiles());

/// The first thing that is wrong with the folder, or nothing.
std::optional<QString> folderIssue(const QString &folder);

/// Remembers what was found out about a folder, so that a redisplay asks no disk.
///
/// Owner: GatewaySetupWizardViewModel. Thread: main.
class FolderCheck
{
public:
    using Validate = std::function<FolderValidationResult(const QString &folder)>;

    explicit FolderCheck(Validate validate) : m_validate(std::move(validate)) {}

    /// \param folder  nothing for the default one, which has no issues.
    /// \param force   asks the disk even where the folder is the one asked for last.
    FolderValidationResult validate(const std::optional<QString> &folder, bool force);

    /// The next validation asks the disk.
    void forget();

    bool isChecking() const { return m_isChecking; }

private:
    const Validate m_validate;
    std::optional<FolderValidationResult> m_cached;
    bool m_isChecking = false;
};

} // namespace gateway::wizard
