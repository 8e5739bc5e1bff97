#include "dicom_helper/unpack/output_folder.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

namespace gateway::dicom_helper::unpack {
namespace {

namespace fs = std::filesystem;

class Folder : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directory(path()); }

    fs::path path() const { return fs::path(m_home.path().toStdString()) / "extracted"; }

    static void
    put(OutputFolder &folder, std::string_view path, std::uint64_t number, std::string_view content)
    {
        folder.begin(path, number);
        folder.write(std::as_bytes(std::span(content)));
        folder.end();
    }

    /// All files of the home by their paths below it, with their contents.
    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> found;
        for (const auto &entry : fs::recursive_directory_iterator(m_home.path().toStdString())) {
            if (!entry.is_directory()) {
                std::ostringstream content;
                content << std::ifstream(entry.path()).rdbuf();
                found[fs::relative(entry.path(), m_home.path().toStdString()).string()] = content.str();
            }
        }
        return found;
    }

    QTemporaryDir m_home;
};

using Files = std::map<std::string, std::string>;

TEST_F(Folder, KeepsTheLayoutOfTheArchive)
{
    OutputFolder folder(path(), 0);

    put(folder, "a.dcm", 1, "A");
    put(folder, "s/one/b.dcm", 2, "B");
    put(folder, "s/one/c.dcm", 3, "");

    EXPECT_EQ(
        files(),
        (Files{{"extracted/a.dcm", "A"}, {"extracted/s/one/b.dcm", "B"}, {"extracted/s/one/c.dcm", ""}}));
}

TEST_F(Folder, WritesNothingOutsideItself)
{
    OutputFolder folder(path(), 0);

    put(folder, "../escaped.dcm", 1, "A");
    put(folder, path().parent_path().string() + "/absolute.dcm", 2, "B");

    for (const auto &[name, content] : files()) {
        EXPECT_TRUE(name.starts_with("extracted/")) << name;
    }
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(Folder, KeepsBothOfTwoFilesWithOneName)
{
    OutputFolder folder(path(), 0);

    put(folder, "a.dcm", 1, "first");
    put(folder, "x/../a.dcm", 2, "in x");
    put(folder, "a.dcm", 3, "second");

    EXPECT_EQ(files(),
              (Files{{"extracted/a.dcm", "first"},
                     {"extracted/x/a.dcm", "in x"},
                     {"extracted/entry-3.dcm", "second"}}));
}

TEST_F(Folder, KeepsAFileWhoseFolderIsAFileAndOneWhoseNameIsAFolder)
{
    OutputFolder folder(path(), 0);

    put(folder, "a", 1, "file");
    put(folder, "a/b.dcm", 2, "below a file");
    put(folder, "c/d.dcm", 3, "in a folder");
    put(folder, "c", 4, "named as the folder");

    EXPECT_EQ(files(),
              (Files{{"extracted/a", "file"},
                     {"extracted/entry-2.dcm", "below a file"},
                     {"extracted/c/d.dcm", "in a folder"},
                     {"extracted/entry-4", "named as the folder"}}));
}

TEST_F(Folder, KeepsFilesThatCanHaveNoNameOfTheirOwnAlsoWherePlainNamesAreTaken)
{
    OutputFolder folder(path(), 0);

    put(folder, "entry-2.dcm", 1, "taken");
    put(folder, std::string(300, 'n') + ".dcm", 2, "long");
    put(folder, "..", 3, "no name");

    EXPECT_EQ(files(),
              (Files{{"extracted/entry-2.dcm", "taken"},
                     {"extracted/entry-2-1.dcm", "long"},
                     {"extracted/entry-3.", "no name"}}));
}

TEST_F(Folder, FollowsNoLinkThatSomebodyPutThere)
{
    const fs::path outside = path().parent_path() / "outside";
    fs::create_directory(outside);
    fs::create_directory_symlink(outside, path() / "link");
    fs::create_symlink(outside / "target", path() / "file.dcm");
    OutputFolder folder(path(), 0);

    put(folder, "link/a.dcm", 1, "A");
    put(folder, "file.dcm", 2, "B");

    EXPECT_TRUE(fs::is_empty(outside));
    EXPECT_EQ(files()["extracted/entry-1.dcm"], "A");
    EXPECT_EQ(files()["extracted/entry-2.dcm"], "B");
}

TEST_F(Folder, TellsOfMissingStorageAndOfAReserveThatIsReached)
{
    EXPECT_THROW(OutputFolder(path() / "missing", 0), NoStorage);
    OutputFolder folder(path(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_THROW(folder.begin("a.dcm", 1), NoStorage);
    EXPECT_TRUE(files().empty());
}

} // namespace
} // namespace gateway::dicom_helper::unpack
