#include "core/home_layout.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>

#include <cerrno>
#include <cstring>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::core {

namespace {

QString folderFrom(const QProcessEnvironment &environment, const QString &variable, const QString &fallback)
{
    // The base directory rules say that a relative path in these variables is to be ignored.
    const QString value = environment.value(variable);
    const QString base = value.startsWith(u'/') ? value : fallback;
    return base + QStringLiteral("/QuorinGateway");
}

HomeLayout layoutBelow(const QString &home)
{
    const QString root = QDir::cleanPath(QDir(home).absolutePath());
    return {root + QStringLiteral("/defaults.sqlite"),
            root + QStringLiteral("/index/QuorinGateway.sqlite"),
            root + QStringLiteral("/Documents/Pavan Data"),
            root + QStringLiteral("/Documents/Import"),
            root + QStringLiteral("/Application Support/QuorinGateway/Logs"),
            root + QStringLiteral("/tmp"),
            root + QStringLiteral("/run")};
}

HomeLayout standardLayout(const QProcessEnvironment &environment)
{
    const QString user = environment.value(QStringLiteral("HOME"), QDir::homePath());
    const QString config =
        folderFrom(environment, QStringLiteral("XDG_CONFIG_HOME"), user + QStringLiteral("/.config"));
    const QString data =
        folderFrom(environment, QStringLiteral("XDG_DATA_HOME"), user + QStringLiteral("/.local/share"));
    const QString state =
        folderFrom(environment, QStringLiteral("XDG_STATE_HOME"), user + QStringLiteral("/.local/state"));
    const QString run = folderFrom(environment, QStringLiteral("XDG_RUNTIME_DIR"), state);
    QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents.isEmpty()) {
        documents = user + QStringLiteral("/Documents");
    }
    const QString store = documents + QStringLiteral("/Pavan Data");
    return {config + QStringLiteral("/defaults.sqlite"),
            data + QStringLiteral("/QuorinGateway.sqlite"),
            store,
            documents + QStringLiteral("/Import"),
            data + QStringLiteral("/Logs"),
            store + QStringLiteral("/.tmp"), // hidden: not counted and not walked as stored images
            run + QStringLiteral("/run")};
}

QString parentOf(const QString &file)
{
    return QFileInfo(file).absolutePath();
}

void makeFolder(const QString &folder, bool forThisUserAlone)
{
    const QByteArray name = QFile::encodeName(folder);
    try {
        platform::makeFoldersDurably(folder);
    } catch (const platform::FileError &error) {
        throw HomeError(QStringLiteral("The folder %1 can't be made: %2.").arg(folder, error.message()));
    }
    if (::access(name.constData(), W_OK | X_OK) != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        throw HomeError(QStringLiteral("The folder %1 can't be written: %2.").arg(folder, reason));
    }
    if (forThisUserAlone && ::chmod(name.constData(), S_IRWXU) != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        throw HomeError(QStringLiteral("The folder %1 can't be kept private: %2.").arg(folder, reason));
    }
}

QString nameOf(uid_t user)
{
    const passwd *entry = ::getpwuid(user);
    return entry == nullptr ? QString::number(user) : QString::fromLocal8Bit(entry->pw_name);
}

/// On a volume that knows no rights there is nothing to take.
void takeFromOthers(const QString &folder, mode_t rights)
{
    const QByteArray name = QFile::encodeName(folder);
    struct stat found{};
    if (::stat(name.constData(), &found) == 0 && (found.st_mode & rights) != 0) {
        ::chmod(name.constData(), found.st_mode & ALLPERMS & ~rights);
    }
}

} // namespace

QString HomeLayout::lockFile() const
{
    return runFolder + QStringLiteral("/instance.lock");
}

QString HomeLayout::indexLockFile() const
{
    return indexFile + QStringLiteral(".lock");
}

QString HomeLayout::controlSocket() const
{
    return runFolder + QStringLiteral("/control.socket");
}

QString HomeLayout::healthSocket() const
{
    return runFolder + QStringLiteral("/health.socket");
}

QString HomeLayout::tokenFolder() const
{
    return parentOf(defaultsFile);
}

HomeLayout homeLayout(const std::optional<QString> &home, const QProcessEnvironment &environment)
{
    return home ? layoutBelow(*home) : standardLayout(environment);
}

std::optional<QString> otherOwner(const HomeLayout &layout)
{
    const QByteArray folder = QFile::encodeName(parentOf(layout.defaultsFile));
    struct stat found{};
    if (::stat(folder.constData(), &found) != 0 || found.st_uid == ::geteuid()) {
        return std::nullopt;
    }
    // A share may call everything somebody else's; what can be used is this user's.
    const bool isUsable = ::access(folder.constData(), R_OK | W_OK | X_OK) == 0;
    return isUsable && ::geteuid() != 0 ? std::nullopt : std::optional(nameOf(found.st_uid));
}

void makeFolders(const HomeLayout &layout)
{
    makeFolder(layout.runFolder, true);
    for (const QString &folder : {parentOf(layout.defaultsFile),
                                  parentOf(layout.indexFile),
                                  layout.fileStore,
                                  layout.incomingFolder,
                                  layout.logFolder,
                                  layout.temporaryFolder}) {
        makeFolder(folder, false);
    }
    takeFromOthers(parentOf(layout.defaultsFile),
                   S_IWOTH); // of a home the top, below which others may have a folder
    for (const QString &folder : {parentOf(layout.indexFile), layout.fileStore, layout.logFolder}) {
        takeFromOthers(folder, S_IRWXO);
    }
}

} // namespace gateway::core
