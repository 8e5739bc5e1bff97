#include "wizard/folder_check.h"

#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
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
              (FolderValidationResult{folder.path(), std::nullopt, std::nullopt}));
    EXPECT_EQ(folderIssue(folder.path()), std::nullopt);
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

TEST(FolderCheck, AsksTheDiskOnceForAFolderUnlessForced)
{
    int looks = 0;
    FolderCheck check([&looks](const QString &folder) {
        ++looks;
        return FolderValidationResult{folder, std::nullopt, std::nullopt};
    });

    check.validate(u"/a"_qs, false);
    check.validate(u"/a"_qs, false);
    EXPECT_EQ(looks, 1);
    check.validate(u"/a"_qs, true);
    EXPECT_EQ(looks, 2);
    check.validate(u"/b"_qs, false);
    EXPECT_EQ(looks, 3);
    check.forget();
    check.validate(u"/b"_qs, false);
    EXPECT_EQ(looks, 4);
    EXPECT_EQ(check.validate(std::nullopt, true), FolderValidationResult());
    check.validate(u"/b"_qs, false);
    EXPECT_EQ(looks, 5) << "the default folder empties the memory";
}

} // namespace
} // namespace gateway::wizard
