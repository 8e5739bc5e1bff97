#include "platform/quorin_api/dicom_meta_header.h"
#include "platform/quorin_api/testing/sample_files.h"

#include <gtest/gtest.h>

namespace gateway::platform {
using testing::metaHeader;
using testing::shortElement;

namespace {

const QByteArray kStart = QByteArray(128, '\0') + "DICM";

} // namespace

TEST(DicomMetaHeader, GivesTheInstanceWithoutPadding)
{
    const auto header = readDicomMetaHeader(metaHeader("1.2.3.4.5", "1.2.840.10008.1.2.4.80"));

    ASSERT_TRUE(header);
    EXPECT_EQ(header->sopInstanceUid, "1.2.3.4.5");
}

TEST(DicomMetaHeader, GivesNothingForAFileThatEndsAnywhereBeforeTheInstance)
{
    const QByteArray whole = metaHeader("1.2.3.4.5");
    const qsizetype behindInstance = whole.indexOf("1.2.3.4.5") + 10;

    for (qsizetype size = 0; size < behindInstance; ++size) {
        EXPECT_FALSE(readDicomMetaHeader(QByteArrayView(whole).first(size))) << size;
    }
    EXPECT_TRUE(readDicomMetaHeader(QByteArrayView(whole).first(behindInstance)));
}

TEST(DicomMetaHeader, ReadsAHeaderWithoutGroupLengthAndWithoutTransferSyntax)
{
    const auto header = readDicomMetaHeader(kStart + shortElement(2, 3, "UI", "1.2.3.45"));

    ASSERT_TRUE(header);
    EXPECT_EQ(header->sopInstanceUid, "1.2.3.45");
}

TEST(DicomMetaHeader, RefusesWhatIsNotAFileOfDicom)
{
    EXPECT_FALSE(readDicomMetaHeader({}));
    EXPECT_FALSE(readDicomMetaHeader(QByteArray(5000, 'x')));
    EXPECT_FALSE(readDicomMetaHeader(shortElement(8, 0x18, "UI", "1.2.3.45")));
    EXPECT_FALSE(readDicomMetaHeader(kStart + shortElement(8, 0x18, "UI", "1.2.3.45")));
}

TEST(DicomMetaHeader, RefusesInstancesThatCouldMeanSomethingElseInAQuery)
{
    for (const QByteArray &uid : {QByteArray("1.2.*"),
                                  QByteArray("1.2\\1.3 "),
                                  QByteArray("1.2?"),
                                  QByteArray("  "),
                                  QByteArray("1.2&limit"),
                                  QByteArray(66, '1'),
                                  QByteArray()}) {
        EXPECT_FALSE(readDicomMetaHeader(kStart + shortElement(2, 3, "UI", uid))) << uid.constData();
    }
}

TEST(DicomMetaHeader, RefusesElementsOutOfOrderAndWithAnotherRepresentation)
{
    const QByteArray instance = shortElement(2, 3, "UI", "1.2.3.45");

    EXPECT_FALSE(readDicomMetaHeader(kStart + shortElement(2, 4, "UI", "1.2 ") + instance));
    EXPECT_FALSE(readDicomMetaHeader(kStart + instance + instance));
    EXPECT_FALSE(readDicomMetaHeader(kStart + shortElement(2, 3, "LO", "1.2.3.45")));
}

TEST(DicomMetaHeader, TakesNoLengthOnTrust)
{
    const QByteArray huge = QByteArray::fromHex("02000100") + "OB" + QByteArray::fromHex("0000ffffffff");

    EXPECT_FALSE(readDicomMetaHeader(kStart + huge + shortElement(2, 3, "UI", "1.2.3.45")));
}

TEST(DicomMetaHeader, ReadsAHeaderWithATransferSyntaxThatIsNoUid)
{
    const auto header = readDicomMetaHeader(kStart + shortElement(2, 3, "UI", "1.2.3.45") +
                                            shortElement(2, 0x10, "UI", "1.2\r\nX: y"));

    ASSERT_TRUE(header);
    EXPECT_EQ(header->sopInstanceUid, "1.2.3.45");
}

} // namespace gateway::platform
