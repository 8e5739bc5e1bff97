#include "updates/app_image_installer.h"

#include "platform/files/testing/dying_file_system.h"
#include "platform/files/testing/faulty_file_system.h"
#include "platform/files/testing/forgetful_disk.h"
#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace gateway::updates::testing {

namespace {

using platform::testing::DyingFileSystem;
using platform::testing::FaultyFileSystem;
using platform::testing::ForgetfulDisk;
using platform::testing::kDied;

const QByteArray kOld(5'000, 'o');
const QByteArray kNew(7'000, 'n');

struct AppImages : ::testing::Test
{
    AppImages()
    {
        QDir(folder.path()).mkdir(u"Applications"_qs);
        write(appImage, kOld);
        QFile::setPermissions(appImage, kMode);
    }

    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing there");
    }

    /// How many steps an installation has that meets no harm.
    int steps()
    {
        write(verified, kNew);
        FaultyFileSystem counting;
        AppImageInstaller(appImage, counting).install(verified, item);
        write(appImage, kOld);
        return counting.steps();
    }

    static constexpr QFileDevice::Permissions kMode = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                      QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                                      QFileDevice::ExeGroup;

    QTemporaryDir folder;
    QString place = folder.filePath(u"Applications"_qs);
    QString appImage = place + u"/Quorin Gateway.AppImage"_qs;
    QString verified = place + u"/.quorin-gateway-1.part"_qs;
    AppcastItem item = itemFor(kNew);
};

} // namespace

TEST_F(AppImages, AreReplacedAndStayRunnable)
{
    write(verified, kNew);

    EXPECT_EQ(AppImageInstaller(appImage).install(verified, item), PackageInstaller::Outcome::installed);

    EXPECT_EQ(read(appImage), kNew);
    EXPECT_FALSE(QFile::exists(verified));
    const auto mode = QFile::permissions(appImage);
    EXPECT_EQ(mode & (QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::ExeGroup),
              QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    EXPECT_FALSE(mode & QFileDevice::WriteOther);
}

TEST_F(AppImages, AreTheOldOrTheNewOneWholeAfterAPowerCutAtAnyStep)
{
    const int count = steps();
    ASSERT_EQ(count, 3);
    for (int step = 0; step <= count; ++step) {
        write(appImage, kOld);
        ForgetfulDisk disk(place);
        write(verified, kNew); // past the disk, so not yet on it
        FaultyFileSystem faulty(disk);
        faulty.failFromStep(step, EIO);

        const auto failure = failureOf([&] { AppImageInstaller(appImage, faulty).install(verified, item); });
        disk.cutPower();

        const QByteArray now = read(appImage);
        EXPECT_TRUE(now == kOld || now == kNew) << step << ": " << now.size() << " bytes";
        EXPECT_EQ(failure.has_value(), step < count) << step;
        if (!failure) {
            EXPECT_EQ(now, kNew);
        }
    }
}

TEST_F(AppImages, AreTheOldOrTheNewOneWholeAfterAKillAtAnyStep)
{
    const int count = steps();
    for (int step = 0; step < count; ++step) {
        write(appImage, kOld);
        QFile::setPermissions(appImage, kMode);
        write(verified, kNew);

        const pid_t child = ::fork();
        if (child == 0) {
            DyingFileSystem dying;
            dying.dieBefore(step);
            AppImageInstaller(appImage, dying).install(verified, item);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_EQ(WEXITSTATUS(status), kDied);

        const QByteArray now = read(appImage);
        EXPECT_TRUE(now == kOld || now == kNew) << step << ": " << now.size() << " bytes";
        EXPECT_TRUE(QFile::permissions(appImage) & QFileDevice::ExeOwner) << step;
    }
}

TEST_F(AppImages, StayAsTheyWereWhenTheirFolderCannotBeWritten)
{
    write(verified, kNew);
    FaultyFileSystem faulty;
    faulty.failStep(1, EROFS);

    EXPECT_EQ(failureOf([&] { AppImageInstaller(appImage, faulty).install(verified, item); }),
              UpdateFailure::notWritable);

    EXPECT_EQ(read(appImage), kOld);
}

} // namespace gateway::updates::testing
