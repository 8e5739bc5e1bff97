#include "platform/autostart/autostart.h"

#include "platform/files/file_error.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {
namespace {

class AutostartTest : public ::testing::Test
{
protected:
    Autostart autostart()
    {
        return {config.path(),
                {QStringLiteral("com.ovelt.QuorinGateway"), QStringLiteral("Quorin Gateway"), command}};
    }

    QString path() const
    {
        return config.filePath(QStringLiteral("autostart/com.ovelt.QuorinGateway.desktop"));
    }

    QByteArray text() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void write(const QByteArray &bytes) const
    {
        QDir().mkpath(config.filePath(QStringLiteral("autostart")));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    QTemporaryDir config;
    QStringList command{QStringLiteral("/usr/bin/quorin-gateway")};
};

} // namespace

TEST_F(AutostartTest, IsOffUntilSomebodyAsksForIt)
{
    EXPECT_FALSE(autostart().isEnabled());
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(AutostartTest, WritesAnEntryThatStartsTheProgram)
{
    autostart().setEnabled(true);

    EXPECT_TRUE(autostart().isEnabled());
    EXPECT_EQ(text(),
              "[Desktop Entry]\nType=Application\nName=Quorin Gateway\nIcon=com.ovelt.QuorinGateway\n"
              "Exec=\"/usr/bin/quorin-gateway\"\n");
}

TEST_F(AutostartTest, RemovesItsEntryAndNoneIsNoError)
{
    autostart().setEnabled(true);
    autostart().setEnabled(false);
    autostart().setEnabled(false);

    EXPECT_FALSE(autostart().isEnabled());
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(AutostartTest, IsOffWhereADesktopTurnedItOff)
{
    write("[Desktop Entry]\nExec=x\nHidden=true\n");
    EXPECT_FALSE(autostart().isEnabled());
    write("[Desktop Entry]\nExec=x\nX-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(autostart().isEnabled());
}

TEST_F(AutostartTest, TurnsOnAgainWhatADesktopTurnedOff)
{
    write("[Desktop Entry]\nExec=x\nHidden=true\n");

    autostart().setEnabled(true);

    EXPECT_TRUE(autostart().isEnabled());
}

TEST_F(AutostartTest, QuotesPathsThatDesktopsWouldReadOtherwise)
{
    EXPECT_EQ(desktopExec(
                  {QStringLiteral("/opt/my $app/100%"), QStringLiteral("--home"), QStringLiteral("a\"b\\c")}),
              QStringLiteral("\"/opt/my \\\\$app/100%%\" \"--home\" \"a\\\\\"b\\\\\\\\c\""));
}

TEST_F(AutostartTest, SaysThatTheFolderCannotBeWritten)
{
    QFile blocked(config.filePath(QStringLiteral("autostart")));
    ASSERT_TRUE(blocked.open(QIODevice::WriteOnly)); // a file stands where the folder should
    blocked.close();

    EXPECT_THROW(autostart().setEnabled(true), FileError);
    EXPECT_FALSE(autostart().isEnabled());
}

} // namespace gateway::platform
