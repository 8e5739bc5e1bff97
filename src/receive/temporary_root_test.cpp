#include "receive/temporary_root.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace gateway::receive {
namespace {

QStringList entriesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

TEST(TemporaryRoot, GoesWithAllThatIsInItAndFollowsNoLink)
{
    const QTemporaryDir home;
    const QTemporaryDir elsewhere;
    const QByteArray kept = elsewhere.filePath(QStringLiteral("kept")).toLocal8Bit();
    ::close(::open(kept.constData(), O_CREAT | O_WRONLY, 0600));
    {
        const auto root = TemporaryRoot::make(home.path());
        ASSERT_TRUE(root);
        const QByteArray extracted = QFile::encodeName(root->extractedFolder());
        ::close(::open((extracted + "/M\xfcller").constData(), O_CREAT | O_WRONLY, 0600));
        ASSERT_EQ(::symlink(elsewhere.path().toLocal8Bit().constData(), (extracted + "/link").constData()),
                  0);
        EXPECT_EQ(entriesIn(home.path()).size(), 1);
    }

    EXPECT_TRUE(entriesIn(home.path()).isEmpty());
    EXPECT_EQ(::access(kept.constData(), F_OK), 0);
}

TEST(TemporaryRoot, IsNotMadeWhereNothingCanBe)
{
    EXPECT_EQ(TemporaryRoot::make(QStringLiteral("/proc/nowhere")), nullptr);
}

TEST(TemporaryRoot, TheSweepTakesRootsAndNothingElse)
{
    const QTemporaryDir home;
    QDir().mkpath(home.filePath(QStringLiteral("QuorinGatewayManualImport-1/extracted")));
    QDir().mkpath(home.filePath(QStringLiteral("other")));

    TemporaryRoot::sweep(home.path());

    EXPECT_EQ(entriesIn(home.path()), QStringList{QStringLiteral("other")});
}

TEST(TemporaryRoot, NamesACopyAnewAndKeepsTheExtensionWhereItCan)
{
    const QTemporaryDir home;
    const auto root = TemporaryRoot::make(home.path());
    ASSERT_TRUE(root);

    const QString copy = root->nextCopy("/media/M\xfcller.dcm");
    const QString second = root->nextCopy("/media/M\xfcller.dcm");
    const QString odd = root->nextCopy("/media/a.\xfc");

    EXPECT_TRUE(copy.endsWith(QStringLiteral(".dcm")));
    EXPECT_NE(copy, second);
    EXPECT_EQ(QFileInfo(copy).path(), QFileInfo(root->extractedFolder()).path());
    EXPECT_FALSE(QFileInfo(odd).fileName().contains(u'.'));
}

} // namespace
} // namespace gateway::receive
