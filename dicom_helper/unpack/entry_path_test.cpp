#include "dicom_helper/unpack/entry_path.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::unpack {
namespace {

std::string tamed(std::string_view path)
{
    const std::optional<EntryPath> found = tamedPath(path);
    if (!found) {
        return "nothing";
    }
    std::string joined;
    for (const std::string &folder : found->folders) {
        joined += folder + '/';
    }
    return joined + found->name;
}

TEST(EntryPath, KeepsAnHonestPathAsItIs)
{
    EXPECT_EQ(tamed("a.dcm"), "a.dcm");
    EXPECT_EQ(tamed("STUDY/SERIES 1/IM000001"), "STUDY/SERIES 1/IM000001");
    EXPECT_EQ(tamed("..hidden/...dcm"), "..hidden/...dcm");
}

TEST(EntryPath, LeavesOutWhatLeadsOutOfTheFolder)
{
    EXPECT_EQ(tamed("../../etc/passwd"), "etc/passwd");
    EXPECT_EQ(tamed("a/../../b/./c"), "a/b/c");
    EXPECT_EQ(tamed("/etc/passwd"), "etc/passwd");
    EXPECT_EQ(tamed("//server//share"), "server/share");
    EXPECT_EQ(tamed("..\\..\\windows\\x.dcm"), "windows/x.dcm");
    EXPECT_EQ(tamed("C:\\x.dcm"), "x.dcm");
    EXPECT_EQ(tamed("c:x.dcm"), "x.dcm");
    EXPECT_EQ(tamed("C:/../x.dcm"), "x.dcm");
}

TEST(EntryPath, EndsAtAZeroByte)
{
    EXPECT_EQ(tamed(std::string_view("a.dcm\0/../../b", 14)), "a.dcm");
}

TEST(EntryPath, KeepsBytesOfAnyEncoding)
{
    EXPECT_EQ(tamed("M\xfcller/Gr\xf6\xdf"
                    "e"),
              "M\xfcller/Gr\xf6\xdf"
              "e");
}

TEST(EntryPath, IsNothingWithoutANameOrWhenNoFileSystemCouldHoldIt)
{
    EXPECT_EQ(tamed(""), "nothing");
    EXPECT_EQ(tamed(".."), "nothing");
    EXPECT_EQ(tamed("C:"), "nothing");
    EXPECT_EQ(tamed("./../\\/"), "nothing");
    EXPECT_EQ(tamed(std::string(256, 'n')), "nothing");
    EXPECT_EQ(tamed(std::string(255, 'n')), std::string(255, 'n'));
    std::string deep;
    for (int i = 0; i < 65; ++i) {
        deep += "d/";
    }
    EXPECT_EQ(tamed(deep + "x"), "nothing");
    EXPECT_EQ(tamed(std::string(1025, '/') + "x"), "nothing");
}

TEST(EntryPath, APlainNameKeepsAHarmlessExtension)
{
    EXPECT_EQ(plainName("a/b.ZIP", 7, 0), "entry-7.ZIP");
    EXPECT_EQ(plainName("a/b.ZIP", 7, 2), "entry-7-2.ZIP");
    EXPECT_EQ(plainName("..", 7, 0), "entry-7.");
    EXPECT_EQ(plainName("a.b/c", 7, 0), "entry-7");
    EXPECT_EQ(plainName("x.averyveryverylongextension", 7, 0), "entry-7");
}

} // namespace
} // namespace gateway::dicom_helper::unpack
