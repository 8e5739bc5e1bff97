#include "updates/debian_installer.h"

#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::updates::testing {

namespace {

struct DebianInstallers : ::testing::Test
{
    QString verified() const
    {
        QFile file(folder.filePath(u".quorin-gateway-1.part"_qs));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("a package");
        return file.fileName();
    }

    QTemporaryDir folder;
    QString opened;
    bool hasInstaller = true;
    DebianInstaller installer{[this](const QString &path) {
        opened = path;
        return hasInstaller;
    }};
};

} // namespace

TEST_F(DebianInstallers, HandTheWholePackageOverUnderANameThatInstallersKnow)
{
    EXPECT_EQ(installer.install(verified(), itemFor("a package", u"2.1"_qs)),
              PackageInstaller::Outcome::handedOver);

    EXPECT_EQ(opened, folder.filePath(u"quorin-gateway-2.1.deb"_qs));
    QFile package(opened);
    ASSERT_TRUE(package.open(QIODevice::ReadOnly));
    EXPECT_EQ(package.readAll(), "a package");
}

TEST_F(DebianInstallers, KeepThePackageOfOneUpdate)
{
    installer.install(verified(), itemFor("a package", u"2.1"_qs));

    installer.install(verified(), itemFor("a package", u"2.2"_qs));

    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"quorin-gateway-2.2.deb"_qs});
}

TEST_F(DebianInstallers, SayThatThereIsNoInstallerAndKeepThePackage)
{
    hasInstaller = false;

    EXPECT_EQ(failureOf([&] { installer.install(verified(), itemFor("a package", u"2.1"_qs)); }),
              UpdateFailure::noInstaller);

    EXPECT_TRUE(QFile::exists(folder.filePath(u"quorin-gateway-2.1.deb"_qs)));
}

} // namespace gateway::updates::testing
