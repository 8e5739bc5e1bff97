#include "dicom_helper/file_header.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper {

namespace {

std::string headerOf(const std::string &instance)
{
    return encodeFileHeader({"1.2.840.10008.5.1.4.1.1.2", instance, "1.2.840.10008.1.2.1", "TITLE"});
}

std::string instanceIn(const std::string &header)
{
    const std::size_t at = header.find(std::string("\x02\x00\x03\x00UI", 6));
    const auto size = static_cast<unsigned char>(header.at(at + 6));
    return header.substr(at + 8, size);
}

} // namespace

TEST(FileHeader, KeepsASloppyUidThatMayBeTheOnlyNameOfTheObject)
{
    EXPECT_EQ(instanceIn(headerOf("1.2.3.4.abc")), std::string("1.2.3.4.abc\0", 12));
    EXPECT_EQ(instanceIn(headerOf("01.002")), "01.002");
}

TEST(FileHeader, LeavesOutAUidThatIsNoPlainText)
{
    for (const std::string &uid : {std::string("1.2\n3"),
                                   std::string("1.2\\3"),
                                   std::string("../1"),
                                   std::string("1.2.\xE4"),
                                   std::string(300, '1')}) {
        EXPECT_EQ(instanceIn(headerOf(uid)), "") << uid;
    }
}

} // namespace gateway::dicom_helper
