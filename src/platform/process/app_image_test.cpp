#include "platform/process/app_image.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {

namespace {

struct AppImageOf : ::testing::Test
{
    AppImageOf()
    {
        QDir(folder.path()).mkpath(u"mount/usr/bin"_qs);
        QFile file(image);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        QFile::link(image, folder.filePath(u"link.AppImage"_qs));
        environment.insert(u"APPIMAGE"_qs, image);
        environment.insert(u"APPDIR"_qs, folder.filePath(u"mount"_qs));
    }

    QTemporaryDir folder;
    QString image = folder.filePath(u"gateway.AppImage"_qs);
    QString program = folder.filePath(u"mount/usr/bin/quorin-gateway"_qs);
    QProcessEnvironment environment;
};

} // namespace

TEST_F(AppImageOf, IsTheFileThatTheProgramRunsFrom)
{
    EXPECT_EQ(appImageOf(environment, program), image);
}

TEST_F(AppImageOf, IsTheFileItselfBehindALink)
{
    environment.insert(u"APPIMAGE"_qs, folder.filePath(u"link.AppImage"_qs));

    EXPECT_EQ(appImageOf(environment, program), image);
}

TEST_F(AppImageOf, IsNoneForAProgramThatAnotherAppImageStarted)
{
    EXPECT_EQ(appImageOf(environment, u"/usr/bin/quorin-gateway"_qs), QString());
    EXPECT_EQ(appImageOf(environment, folder.filePath(u"mount2/quorin-gateway"_qs)), QString());
}

TEST_F(AppImageOf, IsNoneWithoutTheImageOrItsFolder)
{
    EXPECT_EQ(appImageOf({}, program), QString());
    environment.remove(u"APPDIR"_qs);
    EXPECT_EQ(appImageOf(environment, program), QString());
    environment.insert(u"APPDIR"_qs, folder.filePath(u"mount"_qs));
    environment.insert(u"APPIMAGE"_qs, folder.filePath(u"gone.AppImage"_qs));
    EXPECT_EQ(appImageOf(environment, program), QString());
}

TEST(RunningAppImage, IsNoneForATest)
{
    EXPECT_EQ(runningAppImage(), QString());
}

} // namespace gateway::platform
