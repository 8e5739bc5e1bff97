#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/files/file_system.h"

#include <QCoro/QCoroTask>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace gateway::wizard {

/// What was found out about a folder for incoming files; each issue is a sentence for people.
struct FolderValidationResult
{
    std::optional<QString> path;
    std::optional<QString> bookmarkIssue;
    std::optional<QString> writeIssue;
    std::optional<QByteArray> bookmark; ///< what is kept to find it again; nothing where it can't be kept

    /// The first thing that is wrong with the folder, or nothing.
    const std::optional<QString> &issue() const { return bookmarkIssue ? bookmarkIssue : writeIssue; }

    bool operator==(const FolderValidationResult &) const = default;
};

/// Checks that the folder exists, may be entered, and takes a file, by writing one and removing it; and that
/// its volume can sync folders, without which the listener could acknowledge nothing.
///
/// Thread: any; blocks on the disk.
FolderValidationResult validateFolder(const QString &folder,
                                      platform::FileSystem &files = platform::systemFiles());

/// Looks at a folder as `validateFolder` does, which blocks on the disk. Thread: any.
using ValidateFolder = std::function<FolderValidationResult(const QString &folder)>;

/// With whom a folder is looked at without waiting for a disk that is dead.
struct FolderAsking
{
    platform::MainExecutor &main;
    platform::Clock &clock;
    ValidateFolder validate; ///< holds nothing that dies before its last look ends, which nobody waits for
};

/// Looks at the folder on a thread of its own. One that has said nothing for ten seconds, or by the time when
/// `stop` is requested, has the issue that it doesn't answer. What `with` names outlives the wait. Thread:
/// main.
QCoro::Task<FolderValidationResult> askFolder(FolderAsking asking, QString folder, std::stop_token stop);

/// Remembers what was found out about a folder, so that a redisplay asks no disk.
///
/// Owner: GatewaySetupWizardViewModel. Thread: main.
class FolderCheck
{
public:
    struct Collaborators
    {
        FolderAsking asking;
        platform::TaskScope &scope;          ///< the owner's, in which looks are under way
        std::function<void()> answerArrived; ///< something else is known of the folder
    };

    explicit FolderCheck(Collaborators collaborators) : m_collaborators(std::move(collaborators)) {}

    /// Looks at the folder, also where it is the one that was looked at last, and returns when it has
    /// answered, or is called silent. A look overtakes those before it.
    ///
    /// \param folder  nothing for the default one, which has no issues and is asked nothing.
    QCoro::Task<> ask(std::optional<QString> folder);

    /// Looks at the folder, unless it is the one that was looked at last.
    void follow(const std::optional<QString> &folder);

    /// What is known of the folder; empty during a look.
    const FolderValidationResult &found() const { return m_found; }

    bool isChecking() const { return m_isChecking; }

private:
    const Collaborators m_collaborators;
    std::optional<QString> m_folder;
    FolderValidationResult m_found;
    bool m_isChecking = false;
    int m_looks = 0;
};

} // namespace gateway::wizard
