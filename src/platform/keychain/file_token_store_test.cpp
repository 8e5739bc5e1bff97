#include "platform/keychain/file_token_store.h"

#include "platform/files/testing/faulty_file_system.h"
#include "platform/files/testing/forgetful_disk.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>

namespace gateway::platform {

namespace {

const QString kKey = QStringLiteral("session/../../token");

/// Looks at each file at the moment when it gets its name.
class WatchfulFileSystem final : public FileSystem
{
public:
    void create(const QString &path, const QByteArray &bytes) override
    {
        systemFiles().create(path, bytes);
        m_widest |= modeOf(path);
    }
    void copy(const QString &source, const QString &destination) override
    {
        systemFiles().copy(source, destination);
    }
    void link(const QString &source, const QString &destination) override
    {
        systemFiles().link(source, destination);
    }
    void rename(const QString &from, const QString &to) override
    {
        systemFiles().rename(from, to);
        m_widest |= modeOf(to);
    }
    void renameToNew(const QString &from, const QString &to) override
    {
        systemFiles().renameToNew(from, to);
        m_widest |= modeOf(to);
    }
    void setModified(const QString &path, std::chrono::nanoseconds time) override
    {
        systemFiles().setModified(path, time);
    }
    void remove(const QString &path) override { systemFiles().remove(path); }
    void makeFolder(const QString &path) override
    {
        systemFiles().makeFolder(path);
        m_widestFolder |= modeOf(path);
    }
    void syncFile(const QString &path) override { systemFiles().syncFile(path); }
    void syncFolder(const QString &path) override { systemFiles().syncFolder(path); }

    mode_t widest() const { return m_widest; }
    mode_t widestFolder() const { return m_widestFolder; }

private:
    static mode_t modeOf(const QString &path)
    {
        struct stat status{};
        return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 0777U : 0777U;
    }

    mode_t m_widest = 0;
    mode_t m_widestFolder = 0;
};

class AFileTokenStore : public ::testing::Test
{
protected:
    AFileTokenStore() { QDir(m_home.path()).mkdir(QStringLiteral("home")); }

    QString home() const { return m_home.filePath(QStringLiteral("home")); }
    QString folder() const { return home() + QStringLiteral("/tokens"); }

    QStringList files() const { return QDir(folder()).entryList(QDir::Files | QDir::Hidden); }

private:
    QTemporaryDir m_home;
};

} // namespace

TEST_F(AFileTokenStore, KeepsASecretForTheNextRunAndLosesItWhenTold)
{
    const QByteArray secret("to\0ken\xff\n", 8);
    EXPECT_TRUE(FileTokenStore(folder()).write(kKey, secret));

    FileTokenStore next(folder());
    EXPECT_EQ(next.read(kKey), TokenAnswer::found(secret));
    EXPECT_EQ(next.read(QStringLiteral("other")), TokenAnswer::absent());
    EXPECT_TRUE(next.remove(kKey));
    EXPECT_TRUE(next.remove(kKey)) << "a missing secret is no failure";
    EXPECT_EQ(next.read(kKey), TokenAnswer::absent());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(AFileTokenStore, AKeyIsNoPath)
{
    FileTokenStore store(folder());

    store.write(kKey, "secret");

    EXPECT_EQ(QDir(home()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("tokens")});
    EXPECT_EQ(files().size(), 1);
}

TEST_F(AFileTokenStore, IsItsOwnersAloneAtEveryMomentWhateverTheUmask)
{
    WatchfulFileSystem watchful;
    FileTokenStore store(folder(), watchful);

    const mode_t before = ::umask(0);
    store.write(kKey, "secret");
    store.write(kKey, "newer");
    ::umask(before);

    EXPECT_EQ(watchful.widest(), 0600U);
    EXPECT_EQ(watchful.widestFolder(), 0700U);
}

TEST_F(AFileTokenStore, AFailureAtAnyStepLeavesTheOldSecretOrTheNew)
{
    FileTokenStore(folder()).write(kKey, "old");
    testing::FaultyFileSystem faulty;
    FileTokenStore store(folder(), faulty);

    for (int step = 0; step < 3; ++step) {
        faulty.failStep(step, ENOSPC);
        EXPECT_FALSE(store.write(kKey, "new")) << step;
        const TokenAnswer answer = store.read(kKey);
        const QByteArray left =
            answer.outcome == TokenAnswer::Outcome::found ? answer.value : QByteArray("(none)");
        EXPECT_TRUE(left == "old" || left == "new") << step << left.toStdString();
        EXPECT_EQ(files().size(), 1) << step;
    }
}

TEST_F(AFileTokenStore, ASecretThatWasTakenOrRemovedStaysSoAfterAPowerCut)
{
    testing::ForgetfulDisk disk(home());
    FileTokenStore store(folder(), disk);

    ASSERT_TRUE(store.write(kKey, "secret"));
    disk.cutPower();
    EXPECT_EQ(store.read(kKey), TokenAnswer::found("secret"));

    ASSERT_TRUE(store.remove(kKey));
    disk.cutPower();
    EXPECT_EQ(store.read(kKey), TokenAnswer::absent());
}

TEST_F(AFileTokenStore, SaysSoWhenItCannotStore)
{
    QFile inTheWay(folder());
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));

    EXPECT_FALSE(FileTokenStore(folder()).write(kKey, "secret"));
}

} // namespace gateway::platform
