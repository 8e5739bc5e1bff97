#include "dicom_helper/unpack/unpacker.h"

#include "dicom_helper/unpack/testing/archive_writer.h"

#include <gtest/gtest.h>

#include <map>

namespace gateway::dicom_helper::unpack {
namespace {

using testing::rar4Of;
using testing::rar5Of;
using testing::SampleEntry;
using testing::zipOf;

constexpr Limits kRoomy{1000, 100'000'000};

/// Keeps the files in memory; full from some size on.
class MemorySink final : public EntrySink
{
public:
    void begin(std::string_view path, std::uint64_t) override { m_current = &files[std::string(path)]; }

    void write(std::span<const std::byte> bytes) override
    {
        m_held += bytes.size();
        if (m_held > room) {
            throw NoStorage("full");
        }
        m_current->append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    }

    void end() override { m_current = nullptr; }

    std::map<std::string, std::string> files;
    std::size_t room = 1'000'000'000;

private:
    std::string *m_current = nullptr;
    std::size_t m_held = 0;
};

using Files = std::map<std::string, std::string>;

Counts unpackInto(MemorySink &sink, const std::string &bytes, const Limits &limits = kRoomy)
{
    ArchiveReader archive(std::as_bytes(std::span(bytes)));
    return unpackAll(archive, sink, limits, [](const Counts &) {});
}

Files filesIn(const std::string &bytes)
{
    MemorySink sink;
    unpackInto(sink, bytes);
    return sink.files;
}

/// What goes wrong with an archive, in a word.
std::string troubleWith(const std::string &bytes, const Limits &limits = kRoomy)
{
    MemorySink sink;
    try {
        unpackInto(sink, bytes, limits);
    } catch (const UnreadableArchive &error) {
        return error.isEncrypted ? "encrypted" : "unreadable";
    } catch (const TooLarge &) {
        return "too large";
    }
    return "none";
}

TEST(Unpacker, UnpacksStoredAndDeflatedFilesOfAZip)
{
    const std::string large(1'000'000, 'x');
    const std::string zip = zipOf(
        {{"a.dcm", "stored"}, {.path = "s/b.dcm", .content = large, .isDeflated = true}, {"empty", ""}});
    MemorySink sink;

    const Counts counts = unpackInto(sink, zip);

    EXPECT_EQ(sink.files, (Files{{"a.dcm", "stored"}, {"s/b.dcm", large}, {"empty", ""}}));
    EXPECT_EQ(counts, (Counts{3, 1'000'006, 0}));
}

TEST(Unpacker, UnpacksStoredFilesOfRarVersionsFourAndFive)
{
    const std::vector<SampleEntry> entries{{"a.dcm", "first"}, {"b.dcm", "second"}};

    EXPECT_EQ(filesIn(rar4Of(entries)), (Files{{"a.dcm", "first"}, {"b.dcm", "second"}}));
    EXPECT_EQ(filesIn(rar5Of(entries)), (Files{{"a.dcm", "first"}, {"b.dcm", "second"}}));
}

TEST(Unpacker, LeavesOutLinksAndSpecialFilesAndMakesNoFolders)
{
    const std::string zip = zipOf({{"folder/", "", 0040755},
                                   {"link", "/etc/passwd", 0120777},
                                   {"socket", "", 0140644},
                                   {"device", "", 0020644},
                                   {"a.dcm", "A"}});
    MemorySink sink;

    const Counts counts = unpackInto(sink, zip);

    EXPECT_EQ(sink.files, (Files{{"a.dcm", "A"}}));
    EXPECT_EQ(counts, (Counts{1, 1, 3}));
}

TEST(Unpacker, TakesNamesOfAnyEncoding)
{
    const Files expected{
        {"M\xfcller.dcm", "latin"}, {"M\xc3\xbcller.dcm", "utf-8"}, {"\x83\x7d.dcm", "shift-jis"}};

    EXPECT_EQ(
        filesIn(zipOf(
            {{"M\xfcller.dcm", "latin"}, {"M\xc3\xbcller.dcm", "utf-8"}, {"\x83\x7d.dcm", "shift-jis"}})),
        expected);
}

TEST(Unpacker, TellsAProtectedArchiveFromADamagedOne)
{
    EXPECT_EQ(troubleWith(zipOf({{.path = "a.dcm", .content = "secret", .isEncrypted = true}})), "encrypted");
    EXPECT_EQ(troubleWith(testing::encryptedRar5()), "encrypted");
}

TEST(Unpacker, FailsOnAnArchiveThatIsDamagedAnywhere)
{
    const std::string zip = zipOf({{"a.dcm", std::string(5000, 'a')}, {"b.dcm", std::string(5000, 'b')}});

    EXPECT_EQ(troubleWith(zip), "none");
    EXPECT_EQ(troubleWith(""), "unreadable");
    EXPECT_EQ(troubleWith("DICM, not an archive at all"), "unreadable");
    EXPECT_EQ(troubleWith(zip.substr(0, zip.size() / 2)), "unreadable");
    EXPECT_EQ(troubleWith(zip.substr(0, 5000 + 35)), "unreadable") << "cut behind the first file";
    for (const bool isDeflated : {false, true}) {
        const SampleEntry wrong{
            .path = "a", .content = "content", .isDeflated = isDeflated, .hasWrongSum = true};
        EXPECT_EQ(troubleWith(zipOf({wrong})), "unreadable");
    }
    for (const auto pack : {rar4Of, rar5Of}) {
        const std::string rar = pack({{"a.dcm", std::string(5000, 'a')}});
        EXPECT_EQ(troubleWith(rar), "none");
        EXPECT_EQ(troubleWith(rar.substr(0, rar.size() / 2)), "unreadable");
    }
}

TEST(Unpacker, RefusesABombByWhatComesOutOfItWhateverItSays)
{
    const std::string bomb =
        zipOf({{.path = "zeros", .content = std::string(2'000'000, '\0'), .isDeflated = true}});
    ASSERT_LT(bomb.size(), 10'000U);

    EXPECT_EQ(troubleWith(bomb, {1000, 1'000'000}), "too large");
    EXPECT_EQ(troubleWith(bomb, {1000, 2'000'000}), "none");
}

TEST(Unpacker, RefusesMoreEntriesThanThereMayBeOfAnyKind)
{
    const std::string zip = zipOf({{"a", "1"}, {"folder/", "", 0040755}, {"link", "a", 0120777}});

    EXPECT_EQ(troubleWith(zip, {3, 100}), "none");
    EXPECT_EQ(troubleWith(zip, {2, 100}), "too large");
}

TEST(Unpacker, BlamesTheStorageForAFullDisk)
{
    MemorySink sink;
    sink.room = 3;

    EXPECT_THROW(unpackInto(sink, zipOf({{"a.dcm", "more than there is room for"}})), NoStorage);
}

} // namespace
} // namespace gateway::dicom_helper::unpack
