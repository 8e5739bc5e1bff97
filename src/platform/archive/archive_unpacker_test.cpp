#include "platform/archive/archive_unpacker.h"

#include "dicom_helper/unpack/testing/archive_writer.h"
#include "platform/dicom/helper_process.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace gateway::platform {
namespace {

using dicom_helper::unpack::testing::zipOf;
using Outcome = UnpackedArchive::Outcome;

constexpr ArchiveLimits kRoomy{1000, 100'000'000, 0};

class Unpacker : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(QDir().mkpath(extracted())); }

    QString extracted() const { return m_home.filePath(QStringLiteral("extracted")); }

    QString archive(const std::string &bytes) const
    {
        const QString path = m_home.filePath(QStringLiteral("input.zip"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(QByteArray::fromStdString(bytes)), static_cast<qint64>(bytes.size()));
        return path;
    }

    UnpackedArchive unpack(const std::string &bytes, const ArchiveLimits &limits = kRoomy)
    {
        return m_unpacker.unpack(archive(bytes), extracted(), limits, [](qint64, qint64) {}, {});
    }

    /// Files of the home but for the input, by their paths below it.
    QStringList files() const
    {
        QStringList found;
        QDirIterator all(
            m_home.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            found.append(QDir(m_home.path()).relativeFilePath(all.next()));
        }
        found.removeAll(u"input.zip"_qs);
        found.sort();
        return found;
    }

    static QString scriptedUnpacker()
    {
        return QCoreApplication::applicationDirPath() + u"/scripted_unpacker"_qs;
    }

    QTemporaryDir m_home;
    ArchiveUnpacker m_unpacker{helperProgramPath()};
};

TEST_F(Unpacker, UnpacksAZipIntoTheFolder)
{
    const UnpackedArchive unpacked =
        unpack(zipOf({{"a.dcm", "A"}, {"s/b.dcm", "BB"}, {"link", "a.dcm", 0120777}}));

    EXPECT_EQ(unpacked.outcome, Outcome::unpacked);
    EXPECT_EQ(unpacked.files, 2);
    EXPECT_EQ(unpacked.bytes, 3);
    EXPECT_EQ(unpacked.leftOut, 1);
    EXPECT_EQ(files(), (QStringList{u"extracted/a.dcm"_qs, u"extracted/s/b.dcm"_qs}));
}

TEST_F(Unpacker, UnpacksARar)
{
    const std::string content(300'000, 'x');
    EXPECT_EQ(unpack(dicom_helper::unpack::testing::rar4Of({{"a.dcm", content}})).outcome, Outcome::unpacked);
    EXPECT_EQ(unpack(dicom_helper::unpack::testing::rar5Of({{"b.dcm", content}})).outcome, Outcome::unpacked);

    EXPECT_EQ(files(), (QStringList{u"extracted/a.dcm"_qs, u"extracted/b.dcm"_qs}));
    EXPECT_EQ(QFile(extracted() + u"/b.dcm"_qs).size(), 300'000);
}

TEST_F(Unpacker, WritesNothingOutsideTheFolder)
{
    const std::string absolute = m_home.filePath(u"absolute.dcm"_qs).toStdString();

    const UnpackedArchive unpacked = unpack(zipOf({{"../up.dcm", "A"},
                                                   {absolute, "B"},
                                                   {"C:\\drive.dcm", "C"},
                                                   {"link", "..", 0120777},
                                                   {"link/through.dcm", "D"}}));

    EXPECT_EQ(unpacked.files, 4);
    EXPECT_EQ(files().size(), 4);
    for (const QString &file : files()) {
        EXPECT_TRUE(file.startsWith(u"extracted/"_qs)) << file.toStdString();
    }
}

TEST_F(Unpacker, TellsWhyAnArchiveWasNotUnpacked)
{
    const std::string bomb =
        zipOf({{.path = "z", .content = std::string(5'000'000, '\0'), .isDeflated = true}});

    EXPECT_EQ(unpack("no archive").outcome, Outcome::unreadable);
    EXPECT_EQ(unpack(zipOf({{.path = "a", .content = "x", .isEncrypted = true}})).outcome,
              Outcome::encrypted);
    EXPECT_EQ(unpack(bomb, {1000, 1'000'000, 0}).outcome, Outcome::tooLarge);
    EXPECT_EQ(unpack(zipOf({{"a", "1"}, {"b", "2"}}), {1, 1000, 0}).outcome, Outcome::tooLarge);
    EXPECT_EQ(unpack(zipOf({{"c", "1"}}), {10, 1000, std::numeric_limits<qint64>::max()}).outcome,
              Outcome::noStorage);
    EXPECT_EQ(m_unpacker.unpack(u"/missing"_qs, extracted(), kRoomy, [](qint64, qint64) {}, {}).outcome,
              Outcome::noStorage);
}

TEST_F(Unpacker, AHelperThatCannotBeStartedIsNoFaultOfTheArchive)
{
    ArchiveUnpacker unpacker(u"/missing/quorin-dicom"_qs);

    EXPECT_EQ(unpacker.unpack(archive("x"), extracted(), kRoomy, [](qint64, qint64) {}, {}).outcome,
              Outcome::unavailable);
}

TEST_F(Unpacker, AHelperThatCrashesOrHangsFailsThatArchiveOnly)
{
    ArchiveUnpacker unpacker(scriptedUnpacker(), std::chrono::milliseconds(1));

    EXPECT_EQ(unpacker.unpack(u"crash"_qs, extracted(), kRoomy, [](qint64, qint64) {}, {}).outcome,
              Outcome::unreadable);
    EXPECT_EQ(unpacker.unpack(u"hang"_qs, extracted(), kRoomy, [](qint64, qint64) {}, {}).outcome,
              Outcome::unreadable);
}

TEST_F(Unpacker, TellsItsProgressAndEndsWhenItIsStopped)
{
    ArchiveUnpacker unpacker(scriptedUnpacker());
    std::stop_source stop;
    qint64 seen = 0;

    const UnpackedArchive unpacked = unpacker.unpack(
        u"go on"_qs,
        extracted(),
        kRoomy,
        [&](qint64 files, qint64 bytes) {
            EXPECT_EQ(bytes, 10 * files);
            seen = files;
            if (files == 3) {
                stop.request_stop();
            }
        },
        stop.get_token());

    EXPECT_EQ(unpacked.outcome, Outcome::stopped);
    EXPECT_GE(seen, 3);
}

} // namespace
} // namespace gateway::platform
