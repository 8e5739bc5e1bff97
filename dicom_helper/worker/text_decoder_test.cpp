#include "dicom_helper/worker/text_decoder.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

namespace {

std::string decoded(std::string_view characterSet, std::string_view raw)
{
    return TextDecoder(characterSet).decode(raw);
}

} // namespace

TEST(TextDecoder, DropsPaddingAndKeepsAscii)
{
    EXPECT_EQ(decoded("", " Doe^Jane "), "Doe^Jane");
    EXPECT_EQ(decoded("ISO_IR 100", std::string_view("ab\0", 3)), "ab");
}

TEST(TextDecoder, ReadsSingleByteSets)
{
    EXPECT_EQ(decoded("ISO_IR 100", "Buc^J\xE9r\xF4me"), "Buc^Jérôme");
    EXPECT_EQ(decoded("ISO_IR 101", "W\xB3"), "Wł");
    EXPECT_EQ(decoded("ISO_IR 144", "\xBB\xEE\xDA"), "Люк");
    EXPECT_EQ(decoded("ISO_IR 126", "\xC4\xE9"), "Δι");
    EXPECT_EQ(decoded("ISO 2022 IR 100", "J\xE9"), "Jé");
    EXPECT_EQ(decoded("ISO_IR 166", "\xA1"), "ก");
    EXPECT_EQ(decoded("ISO_IR 13", "\xD4\xCF"), "ﾔﾏ");
}

TEST(TextDecoder, ReadsWholeTextSets)
{
    EXPECT_EQ(decoded("ISO_IR 192", "Wang^XiaoDong=王^小东"), "Wang^XiaoDong=王^小东");
    EXPECT_EQ(decoded("GB18030", "Wang^XiaoDong=\xCD\xF5^\xD0\xA1\xB6\xAB"), "Wang^XiaoDong=王^小东");
    EXPECT_EQ(decoded("GBK", "\xCD\xF5"), "王");
    EXPECT_EQ(decoded("GB18030", "\x81\x5C"), "乗"); // its second byte is a backslash elsewhere
}

TEST(TextDecoder, ReadsJapaneseNamesWithEscapes)
{
    EXPECT_EQ(decoded("\\ISO 2022 IR 87", "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B"),
              "Yamada^Tarou=山田^太郎");
    EXPECT_EQ(decoded("ISO 2022 IR 13\\ISO 2022 IR 87", "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3=\x1B$B;3ED\x1B(J"),
              "ﾔﾏﾀﾞ^ﾀﾛｳ=山田");
    EXPECT_EQ(decoded("\\ISO 2022 IR 159", "\x1B$(D\x30\x21\x1B(B"), "丂");
}

TEST(TextDecoder, ReadsKoreanAndChineseNamesWithEscapes)
{
    EXPECT_EQ(decoded("\\ISO 2022 IR 149", "Hong^Gildong=\x1B$)C\xFB\xF3^\x1B$)C\xD1\xCE\xD4\xD7"),
              "Hong^Gildong=洪^吉洞");
    EXPECT_EQ(decoded("\\ISO 2022 IR 58", "Zhang=\x1B$)A\xD5\xC5^\x1B$)A\xD0\xA1"), "Zhang=张^小");
}

TEST(TextDecoder, FallsBackToTheFirstSetAtDelimiters)
{
    EXPECT_EQ(decoded("ISO 2022 IR 100\\ISO 2022 IR 144", "\x1B-L\xBB^\xE9"), "Л^é");
}

TEST(TextDecoder, UndeclaredTextIsReadAsUtf8OrElseLatin1)
{
    EXPECT_EQ(decoded("", "Jérôme"), "Jérôme");
    EXPECT_EQ(decoded("", "J\xE9r\xF4me"), "Jérôme");
}

TEST(TextDecoder, ReplacesWhatCannotBeDecoded)
{
    EXPECT_EQ(decoded("ISO_IR 192",
                      "a\xFF"
                      "b"),
              "a\uFFFD"
              "b");
    EXPECT_EQ(decoded("GB18030", "a\x81"), "a\uFFFD");
    EXPECT_EQ(decoded("ISO_IR 6", "a\xE9"), "a\uFFFD");
    EXPECT_EQ(decoded("\\ISO 2022 IR 87", "\x1B$B;"), "\uFFFD");
    EXPECT_EQ(decoded("NO SUCH SET", "J\xE9"), "J\uFFFD");
    EXPECT_EQ(decoded("\\ISO 2022 IR 87", "\x1B%Gx"), "\uFFFD%Gx");
    EXPECT_EQ(decoded("ISO_IR 192", std::string_view("a\0b\x07", 4)),
              "a\uFFFD"
              "b\uFFFD");
}

TEST(TextDecoder, TakesNoSequenceForUtf8ThatIsNone)
{
    for (const std::string_view wrong :
         {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFC\x8F\x8F\x8F\x8F\x8F", "\xE2\x82"}) {
        std::string replaced;
        for (std::size_t i = 0; i < wrong.size(); ++i) {
            replaced += "\uFFFD";
        }
        EXPECT_EQ(decoded("ISO_IR 192", wrong), replaced);
    }
    EXPECT_EQ(decoded("ISO_IR 192", "é€😀"), "é€😀");
}

TEST(TextDecoder, CutsBetweenCharacters)
{
    EXPECT_EQ(cutUtf8("aé", 2), "a");
    EXPECT_EQ(cutUtf8("aé", 3), "aé");
    EXPECT_EQ(cutUtf8("é", 1), "");
}

} // namespace gateway::dicom_helper::worker::testing
