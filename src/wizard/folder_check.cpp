#include "wizard/folder_check.h"

#include "platform/concurrency/patient_question.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "receive/folder_bookmark.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QUuid>

#include <cerrno>
#include <chrono>

namespace gateway::wizard {

namespace {

/// How long a folder may take to say what it is good for; a share that is slow answers within seconds.
constexpr std::chrono::seconds kPatience{10};

bool takesAFile(const QString &folder)
{
    const QString name = folder + QStringLiteral("/.quorin_gateway_write_probe_") +
                         QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSaveFile probe(name);
    const bool isWritten = probe.open(QIODevice::WriteOnly) && probe.write("probe") == 5 && probe.commit();
    return QFile::remove(name) && isWritten;
}

/// Trouble that may pass isn't this check's business: the listener waits it out.
bool canSync(const QString &folder, platform::FileSystem &files)
{
    try {
        platform::syncFolder(folder, files);
        return true;
    } catch (const platform::FileError &error) {
        return error.code() != EINVAL && error.code() != ENOTSUP && error.code() != ENOSYS;
    }
}

/// Why the folder can't be kept and found again by these bytes, or nothing.
std::optional<QString> bookmarkIssue(const QString &folder, const std::optional<QByteArray> &bookmark)
{
    if (bookmark && receive::resolveFolderBookmark(*bookmark)) {
        return std::nullopt;
    }
    if (!bookmark && QFileInfo(folder).isDir()) { // which may not be entered
        return QCoreApplication::translate("SetupWizard",
                                           "Could not access the selected folder with sandbox permissions.");
    }
    return QCoreApplication::translate("SetupWizard",
                                       "Could not create or validate a folder permission bookmark.");
}

std::optional<QString> writeIssue(const QString &folder, platform::FileSystem &files)
{
    if (!takesAFile(folder)) {
        return QCoreApplication::translate(
            "SetupWizard", "Selected folder is not writable. Choose a different folder or restore defaults.");
    }
    if (!canSync(folder, files)) {
        return QCoreApplication::translate(
            "SetupWizard",
            "Selected folder lies on a volume that can't sync folders, so that no received image "
            "would be safe there. Choose a folder on another volume.");
    }
    return std::nullopt;
}

/// What is to be said of a folder that doesn't answer.
FolderValidationResult silent(const QString &folder)
{
    return {folder,
            QCoreApplication::translate("SetupWizard",
                                        "The folder doesn't answer. The disk or network share that holds it "
                                        "may be away; choose a different folder."),
            QCoreApplication::translate(
                "SetupWizard", "While the folder doesn't answer, nobody knows whether it takes files."),
            std::nullopt};
}

} // namespace

FolderValidationResult validateFolder(const QString &folder, platform::FileSystem &files)
{
    FolderValidationResult result{folder, std::nullopt, std::nullopt, receive::makeFolderBookmark(folder)};
    result.bookmarkIssue = bookmarkIssue(folder, result.bookmark);
    if (!result.bookmarkIssue) {
        result.writeIssue = writeIssue(folder, files);
    }
    return result;
}

QCoro::Task<FolderValidationResult> askFolder(FolderAsking asking, QString folder, std::stop_token stop)
{
    const platform::Patience patience{asking.main, asking.clock, kPatience};
    auto look = [validate = asking.validate, folder] { return validate(folder); };
    const std::optional<FolderValidationResult> answer =
        co_await platform::askPatiently(patience, "folder-check", std::move(look), std::move(stop));
    co_return answer ? *answer : silent(folder);
}

QCoro::Task<void> FolderCheck::ask(std::optional<QString> folder)
{
    const auto operation = m_collaborators.scope.enter();
    const int look = ++m_looks;
    m_folder = folder;
    m_found = {};
    m_isChecking = folder.has_value();
    if (!folder) {
        co_return;
    }
    const FolderValidationResult found =
        co_await askFolder(m_collaborators.asking, *folder, m_collaborators.scope.stopToken());
    if (m_collaborators.scope.stopToken().stop_requested() || look != m_looks) {
        co_return;
    }
    m_found = found;
    m_isChecking = false;
    m_collaborators.answerArrived();
}

void FolderCheck::follow(const std::optional<QString> &folder)
{
    if (folder != m_folder) {
        m_collaborators.scope.start(ask(folder));
    }
}

} // namespace gateway::wizard
