#include "core/home_layout.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace gateway::core {
namespace {

TEST(HomeLayout, KeepsEverythingBelowTheGivenHome)
{
    const HomeLayout layout = homeLayout(u"/srv/gw/"_qs, {});

    EXPECT_EQ(layout.defaultsFile, u"/srv/gw/defaults.sqlite"_qs);
    EXPECT_EQ(layout.indexFile, u"/srv/gw/index/QuorinGateway.sqlite"_qs);
    EXPECT_EQ(layout.fileStore, u"/srv/gw/Documents/Pavan Data"_qs);
    EXPECT_EQ(layout.incomingFolder, u"/srv/gw/Documents/Import"_qs);
    EXPECT_EQ(layout.logFolder, u"/srv/gw/Application Support/QuorinGateway/Logs"_qs);
    EXPECT_EQ(layout.temporaryFolder, u"/srv/gw/tmp"_qs);
    EXPECT_EQ(layout.runFolder, u"/srv/gw/run"_qs);
}

TEST(HomeLayout, UsesThePlatformsPlacesWithoutOne)
{
    QProcessEnvironment environment;
    environment.insert(u"HOME"_qs, u"/home/ann"_qs);
    environment.insert(u"XDG_CONFIG_HOME"_qs, u"/cfg"_qs);
    environment.insert(u"XDG_RUNTIME_DIR"_qs, u"/run/user/7"_qs);
    environment.insert(u"XDG_DATA_HOME"_qs, u"relative/is/ignored"_qs);

    const HomeLayout layout = homeLayout(std::nullopt, environment);

    EXPECT_EQ(layout.defaultsFile, u"/cfg/QuorinGateway/defaults.sqlite"_qs);
    EXPECT_EQ(layout.indexFile, u"/home/ann/.local/share/QuorinGateway/QuorinGateway.sqlite"_qs);
    EXPECT_EQ(layout.logFolder, u"/home/ann/.local/share/QuorinGateway/Logs"_qs);
    EXPECT_TRUE(layout.fileStore.endsWith(u"/Pavan Data"_qs));
    EXPECT_TRUE(layout.incomingFolder.endsWith(u"/Import"_qs));
    EXPECT_TRUE(layout.temporaryFolder.startsWith(layout.fileStore + u'/'));
    EXPECT_TRUE(layout.controlSocket().startsWith(u"/run/user/7/QuorinGateway/"_qs));
}

TEST(HomeLayout, MakesItsFoldersAndKeepsTheRunFolderPrivate)
{
    const QTemporaryDir home;
    const HomeLayout layout = homeLayout(home.path(), {});

    makeFolders(layout);

    EXPECT_TRUE(QFileInfo(layout.fileStore).isDir());
    EXPECT_TRUE(QFileInfo(layout.incomingFolder).isDir());
    EXPECT_TRUE(QFileInfo(layout.temporaryFolder).isDir());
    EXPECT_EQ(QFile::permissions(layout.runFolder) & (QFile::ReadGroup | QFile::ReadOther),
              QFile::Permissions());
}

TEST(HomeLayout, NamesTheFolderThatCannotBeMade)
{
    const QTemporaryDir home;
    QFile file(home.filePath(u"occupied"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    try {
        makeFolders(homeLayout(file.fileName(), {}));
        FAIL() << "a file was taken for a folder";
    } catch (const HomeError &error) {
        EXPECT_TRUE(error.message.contains(file.fileName())) << error.message.toStdString();
        EXPECT_TRUE(error.message.endsWith(u'.'));
    }
}

TEST(HomeLayout, TakesTheRightsOfOthersFromWhatHoldsImages)
{
    const QTemporaryDir home;
    const HomeLayout layout = homeLayout(home.path(), {});
    makeFolders(layout);
    const auto open = [](const QString &folder) {
        EXPECT_EQ(::chmod(QFile::encodeName(folder).constData(), 0777), 0);
    };
    const auto rights = [](const QString &folder) {
        struct stat found{};
        EXPECT_EQ(::stat(QFile::encodeName(folder).constData(), &found), 0);
        return found.st_mode & 0777U;
    };
    open(home.path());
    open(layout.fileStore);
    open(layout.logFolder);

    makeFolders(layout);

    EXPECT_EQ(rights(home.path()), 0775U);
    EXPECT_EQ(rights(layout.fileStore), 0770U);
    EXPECT_EQ(rights(layout.logFolder), 0770U);
}

TEST(HomeLayout, IsNobodyElsesWhereItIsNewOrOnesOwn)
{
    const QTemporaryDir home;

    EXPECT_FALSE(otherOwner(homeLayout(home.filePath(u"new"_qs), {})));
    EXPECT_FALSE(otherOwner(homeLayout(home.path(), {})));
}

} // namespace
} // namespace gateway::core
