#include "wizard/folder_check.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "receive/folder_bookmark.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QUuid>

#include <cerrno>

namespace gateway::wizard {

namespace {

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

/// Why the folder can't be kept and found again, or nothing.
std::optional<QString> bookmarkIssue(const QString &folder)
{
    const std::optional<QByteArray> bookmark = receive::makeFolderBookmark(folder);
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

} // namespace

FolderValidationResult validateFolder(const QString &folder, platform::FileSystem &files)
{
    FolderValidationResult result{folder, bookmarkIssue(folder), std::nullopt};
    if (!result.bookmarkIssue) {
        result.writeIssue = writeIssue(folder, files);
    }
    return result;
}

std::optional<QString> folderIssue(const QString &folder)
{
    const FolderValidationResult result = validateFolder(folder);
    return result.bookmarkIssue ? result.bookmarkIssue : result.writeIssue;
}

FolderValidationResult FolderCheck::validate(const std::optional<QString> &folder, bool force)
{
    if (!folder) {
        forget();
        return {};
    }
    if (force || !m_cached || m_cached->path != folder) {
        m_isChecking = true;
        m_cached = m_validate(*folder);
        m_isChecking = false;
    }
    return *m_cached;
}

void FolderCheck::forget()
{
    m_cached.reset();
}

} // namespace gateway::wizard
