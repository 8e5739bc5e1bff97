// What is not converted, and what comes of faults on the way.
#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/object_comparison.h"
#include "dicom_helper/worker/testing/converter_world.h"

#include <csignal>

#include <sys/resource.h>

namespace gateway::dicom_helper::worker::testing {

using gateway::platform::dicom_protocol::Record;

TEST_F(ConverterTest, ADifferenceInAnyFrameIsFound)
{
    SampleImage image;
    image.frames = 3;
    for (int frame = 0; frame < 3; ++frame) {
        FaultyCodec codec;
        codec.faultyFrame = frame;
        writeFile(path("source"), fileOf(image));

        const Record record = Converter(codec).convert(path("source"), path("output"));

        EXPECT_EQ(record.word, "failed");
        EXPECT_EQ(record.text("message"), "the converted pixels differ from the source's");
        EXPECT_FALSE(hasOutput());
    }
}

TEST_F(ConverterTest, TheEncodersDoubtIsAFailure)
{
    m_codec.refuses = true;

    EXPECT_EQ(converted(fileOf({})).word, "failed");
    EXPECT_FALSE(hasOutput());
}

TEST_F(ConverterTest, ADiskWithoutRoomIsAFailureAndLeavesNoFile)
{
    writeFile(path("source"), fileOf({}));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    for (const rlim_t room : {100U, 1000U, 3000U}) {
        const auto handlerBefore = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit little{room, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &little);

        const Record record = Converter(m_codec).convert(path("source"), path("output"));

        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handlerBefore);
        EXPECT_EQ(record.text("message"), "the output can't be written") << room;
        EXPECT_FALSE(hasOutput());
    }
}

TEST_F(ConverterTest, AnExistingOutputIsNotTouched)
{
    writeFile(path("output"), "precious");

    EXPECT_EQ(converted(fileOf({})).word, "failed");
    EXPECT_EQ(readFile(path("output")), "precious");
}

TEST_F(ConverterTest, AnAbandonedConversionEndsBeforeTheNextFrame)
{
    writeFile(path("source"), fileOf({}));

    const Record record = Converter(m_codec, [] { return true; }).convert(path("source"), path("output"));

    EXPECT_EQ(record.word, "failed");
    EXPECT_FALSE(hasOutput());
}

TEST_F(ConverterTest, DamagedObjectsFailOrComeBackButAreNeverConverted)
{
    const std::string whole = fileOf({});

    for (std::size_t size = 0; size < whole.size(); size += size < 1200 ? 13 : 997) {
        const Record record = converted(std::string_view(whole).substr(0, size));
        EXPECT_FALSE(isConverted(record)) << size;
        EXPECT_FALSE(hasOutput());
    }
}

TEST_F(ConverterTest, NestingBeyondTheLimitNeverReachesTheToolkit)
{
    for (const int levels : {65, 50'000}) {
        DatasetWriter dataset;
        for (int i = 0; i < levels; ++i) {
            dataset.header(0x00081115U, vr('S', 'Q'), kUndefinedLength)
                .header(0xFFFEE000U, 0, kUndefinedLength);
        }
        for (int i = 0; i < levels; ++i) {
            dataset.header(0xFFFEE00DU, 0, 0).header(0xFFFEE0DDU, 0, 0);
        }
        dataset.bytes(datasetOf({}));

        const Record record = converted(part10(kExplicitLittleEndian, dataset.all()));

        EXPECT_EQ(record.text("message"), "the object's sequences are nested too deep");
    }
}

TEST_F(ConverterTest, ADeflateBombFailsCleanly)
{
    SampleImage image;
    DatasetWriter dataset;
    dataset.bytes(datasetOf(image))
        .header(0x7FE11001U, vr('O', 'B'), 200U * 1024 * 1024)
        .bytes(std::string(std::size_t{200} * 1024 * 1024, '\0'));

    const Record record = converted(part10(kDeflatedExplicitLittleEndian, deflated(dataset.all())));

    EXPECT_EQ(record.text("message"), "the deflated object can't be unpacked whole");
    EXPECT_FALSE(hasOutput());
}

TEST_F(ConverterTest, AnObjectWhoseTagsDoNotRiseIsNotConverted)
{
    const auto comment = [](const char *text) {
        return DatasetWriter().text(kImageComments, "LT", text).all();
    };
    const std::string image = datasetOf({});
    const std::string twice = comment("one") + comment("two");
    const std::string disorder = DatasetWriter().text(0x00204002U, "LT", "later").all() + comment("one");
    const auto inItem = [](const std::string &item, bool undefined) {
        return DatasetWriter().items(0x7FE11001U, {item}, undefined).all();
    };
    // Behind the pixel data, so that what stands before is as it should be.
    for (const std::string &odd :
         {twice,
          disorder,
          DatasetWriter().text(kPatientId, "LO", "P2").all(),
          DatasetWriter().text(0x7FE10010U, "LO", "A").text(0x7FE10010U, "LO", "B").all(),
          inItem(twice, false),
          inItem(disorder, true),
          inItem(inItem(twice, true), false)}) {
        EXPECT_EQ(converted(part10(kExplicitLittleEndian, image + odd)).text("message"),
                  "the object's elements aren't in ascending order");
        EXPECT_FALSE(hasOutput());
    }
    const std::string again = image.substr(0, image.find("CS")) + image.substr(image.find("CS") - 4);
    EXPECT_FALSE(isConverted(converted(part10(kExplicitLittleEndian, again))));
}

TEST_F(ConverterTest, AnObjectWithAnOddRepresentationIsNotConverted)
{
    const std::string odd = DatasetWriter().raw(0x7FE11010U, vr('?', '?'), "abcd").all();

    EXPECT_EQ(converted(part10(kExplicitLittleEndian, datasetOf({}) + odd)).text("message"),
              "the object is malformed");
    EXPECT_FALSE(hasOutput());
}

TEST_F(ConverterTest, ElementsBehindThePixelDataAndEqualTagsInTwoItemsAreCarried)
{
    const std::string one = DatasetWriter().text(0x7FE11003U, "LO", "one").all();
    const std::string two = DatasetWriter().text(0x7FE11003U, "LO", "two").all();
    const DatasetWriter behind = DatasetWriter()
                                     .text(0x7FE10010U, "LO", "OURS")
                                     .items(0x7FE11001U, {one, "", two}, true)
                                     .items(0x7FE11002U, {}, false)
                                     .raw(0x7FE11004U, vr('U', 'N'), "\1\2\3\4");

    EXPECT_TRUE(isConverted(converted(part10(kExplicitLittleEndian, datasetOf({}) + behind.all()))));
    EXPECT_TRUE(sameAttributes(path("output"), path("source")));
}

TEST_F(ConverterTest, AValueThatTheToolkitWouldChangeKeepsTheOriginal)
{
    const auto withOdd = [](const DatasetWriter &odd) {
        return part10(kExplicitLittleEndian, datasetOf({}) + odd.all());
    };

    // No group length has eight bytes, but whoever wrote it meant them.
    EXPECT_FALSE(isConverted(converted(withOdd(DatasetWriter().raw(0x7FE30000U, vr('L', 'O'), "precious")))));
    EXPECT_FALSE(hasOutput());
    EXPECT_TRUE(isConverted(converted(withOdd(DatasetWriter().raw(0x7FE30000U, vr('U', 'L'), "1234")))));
}

TEST_F(ConverterTest, AFragmentBeyondTheFramesKeepsTheOriginal)
{
    SampleImage image;
    image.rows = 512;
    image.columns = 512;
    const auto addFragment = [this] {
        std::string bytes = readFile(path("output"));
        const std::string delimiter("\xFE\xFF\xDD\xE0\0\0\0\0", 8);
        bytes.insert(bytes.rfind(delimiter), std::string("\xFE\xFF\x00\xE0\0\0\0\0", 8));
        writeFile(path("output"), bytes);
    };
    m_codec.whileChecked = addFragment;

    const Record record = converted(fileOf(image));

    EXPECT_EQ(record.text("message"), "the converted object has more fragments than frames");
    EXPECT_FALSE(hasOutput());
}

TEST_F(ConverterTest, WhatCommonDecodersGiveUpInCompressedFormComesBackAsItIs)
{
    const std::string whole = datasetOf({});
    const std::string highBit = DatasetWriter().number(kHighBit, 11).all();
    const std::size_t place = whole.find(highBit);
    ASSERT_NE(place, std::string::npos);
    const std::string without = whole.substr(0, place) + whole.substr(place + highBit.size());
    const std::size_t pixels = whole.rfind(std::string("\xE0\x7F\x10\x00OW", 6));
    const std::string elsewhere =
        whole.substr(0, pixels) +
        DatasetWriter().text(kPixelDataProviderUrl, "UR", "http://127.0.0.1/").all() + whole.substr(pixels);

    EXPECT_TRUE(isConverted(converted(part10(kExplicitLittleEndian, whole))));
    QFile::remove(QString::fromStdString(path("output")));
    EXPECT_TRUE(nothingToConvert(converted(part10(kExplicitLittleEndian, without))));
    EXPECT_TRUE(nothingToConvert(converted(part10(kExplicitLittleEndian, elsewhere))));
}

TEST_F(ConverterTest, AHeaderThatContradictsItsMetaInformationFails)
{
    EXPECT_EQ(converted(part10(kImplicitLittleEndian, datasetOf({}))).word, "failed");
}

} // namespace gateway::dicom_helper::worker::testing
