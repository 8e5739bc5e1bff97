#include "wizard/folder_check.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/files/testing/faulty_file_system.h"
#include "wizard/testing/fake_setup_machine.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway::wizard {
namespace {

constexpr unsigned kNobody = 65534;

TEST(FolderCheck, TakesAFolderThatCanBeWrittenAndLeavesItAsItWas)
{
    const QTemporaryDir folder;

    EXPECT_EQ(validateFolder(folder.path()),
              (FolderValidationResult{folder.path(), std::nullopt, std::nullopt, folder.path().toUtf8()}));
    EXPECT_TRUE(
        QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
}

TEST(FolderCheck, RefusesAFolderThatIsNotThere)
{
    const FolderValidationResult result = validateFolder(u"/no/such/folder"_qs);

    EXPECT_EQ(result.bookmarkIssue, u"Could not create or validate a folder permission bookmark."_qs);
    EXPECT_EQ(result.writeIssue, std::nullopt);
}

/// Exits with 0 when somebody without rights is told that the folder may not be entered.
[[noreturn]] void lookWithoutRights(const QString &folder)
{
    const bool isRefused =
        ::setuid(kNobody) == 0 && validateFolder(folder).bookmarkIssue ==
                                      u"Could not access the selected folder with sandbox permissions."_qs;
    std::_Exit(isRefused ? 0 : 1);
}

TEST(FolderCheckDeathTest, RefusesAFolderThatMayNotBeEntered)
{
    const QTemporaryDir home;
    ASSERT_EQ(::chmod(QFile::encodeName(home.path()).constData(), 0755), 0);
    const QString folder = home.filePath(u"shut"_qs);
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(::chmod(QFile::encodeName(folder).constData(), 0), 0);

    EXPECT_EXIT(lookWithoutRights(folder), ::testing::ExitedWithCode(0), "");
}

TEST(FolderCheck, RefusesAFolderThatTakesNoFile)
{
    // A folder of the process file system may be entered by anybody and written by nobody, root included.
    EXPECT_EQ(validateFolder(u"/proc/self/fdinfo"_qs).writeIssue,
              u"Selected folder is not writable. Choose a different folder or restore defaults."_qs);
}

TEST(FolderCheck, RefusesAVolumeThatCannotSyncFolders)
{
    const QTemporaryDir folder;
    platform::testing::FaultyFileSystem files;
    for (const int code : {EINVAL, ENOTSUP}) {
        files.failStep(0, code);
        EXPECT_EQ(
            validateFolder(folder.path(), files).writeIssue,
            u"Selected folder lies on a volume that can't sync folders, so that no received image would be "
            u"safe there. Choose a folder on another volume."_qs);
    }
    files.failStep(0, EIO);
    EXPECT_EQ(validateFolder(folder.path(), files).writeIssue, std::nullopt) << "which may pass";
}

/// A check of folders that can be made to say nothing. Thread: main.
struct FolderCheckWorld : ::testing::Test, platform::testing::RunsMain
{
    ~FolderCheckWorld() override
    {
        machine.release();
        scope.close();
    }

    void look(const std::optional<QString> &folder)
    {
        check.follow(folder);
        runUntil([this] { return !check.isChecking(); });
    }

    platform::MainExecutor main;
    platform::WorkerPool pool{u"test"_qs, 1};
    platform::testing::ManualClock clock;
    testing::FakeSetupMachine machine;
    int answers = 0;
    platform::TaskScope scope{main, pool};
    FolderCheck check{{{main, clock, machine.machine().validateFolder}, scope, [this] { ++answers; }}};
};

TEST_F(FolderCheckWorld, AsksTheDiskOnceForAFolderUnlessItIsToldTo)
{
    look(u"/a"_qs);
    look(u"/a"_qs);
    EXPECT_EQ(machine.askedFolders(), QStringList{u"/a"_qs});

    finish(check.ask(u"/a"_qs));
    look(u"/b"_qs);
    EXPECT_EQ(machine.askedFolders(), (QStringList{u"/a"_qs, u"/a"_qs, u"/b"_qs}));
    EXPECT_EQ(answers, 3);

    look(std::nullopt);
    EXPECT_EQ(check.found(), FolderValidationResult());
    look(u"/b"_qs);
    EXPECT_EQ(machine.askedFolders().size(), 4) << "the default folder empties the memory";
}

TEST_F(FolderCheckWorld, CallsAFolderSilentThatSaysNothingForTenSeconds)
{
    machine.holdFolders();
    check.follow(u"/dead"_qs);
    clock.advance(std::chrono::milliseconds(9'999));
    main.drain();
    EXPECT_TRUE(check.isChecking());
    EXPECT_EQ(check.found().issue(), std::nullopt);

    clock.advance(std::chrono::milliseconds(1));
    runUntil([this] { return !check.isChecking(); });

    EXPECT_EQ(check.found().issue(),
              u"The folder doesn't answer. The disk or network share that holds it may be away; choose a "
              u"different folder."_qs);
    EXPECT_EQ(check.found().bookmark, std::nullopt);
    EXPECT_EQ(answers, 1);
}

TEST_F(FolderCheckWorld, KnowsWhatWasLookedAtLastWhateverAnswersFirst)
{
    machine.setFolder(u"/slow"_qs, {u"/slow"_qs, std::nullopt, u"Not writable."_qs, std::nullopt});
    machine.holdFolders();
    const auto first = check.ask(u"/slow"_qs);
    check.follow(std::nullopt);
    EXPECT_FALSE(check.isChecking());

    machine.release();
    finish(first);

    EXPECT_EQ(check.found(), FolderValidationResult());
    EXPECT_EQ(answers, 0);
}

} // namespace
} // namespace gateway::wizard
