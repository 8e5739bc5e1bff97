#include "platform/dicom/dicom_file.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/dicom_converter_wrapper.h"
#include "platform/dicom/testing/identities.h"
#include "platform/dicom/testing/small_object.h"
#include "platform/dicom/worker_process_pool.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimeZone>

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace gateway::platform {

using Fate = ParsedFile::Fate;

using gateway::platform::testing::element;
using gateway::platform::testing::smallObject;

namespace {

/// A clock on which sleeping takes no time, and which can do something meanwhile.
class ImpatientClock final : public Clock
{
public:
    QDateTime now() const override { return {}; }
    std::chrono::nanoseconds monotonic() const override { return slept; }
    bool sleep(std::chrono::nanoseconds duration, std::stop_token) override
    {
        slept += duration;
        ++sleeps;
        if (onSleep) {
            onSleep();
        }
        return true;
    }
    void wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell) override
    {
        tell(sleep(duration, stop));
    }

    std::function<void()> onSleep;
    std::chrono::nanoseconds slept{0};
    int sleeps = 0;
};

QString scriptedWorker()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/scripted_worker");
}

class DicomClients : public ::testing::Test
{
protected:
    QString write(const QString &name, const std::string &bytes) const
    {
        const QString path = m_folder.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray::fromStdString(bytes));
        return path;
    }

    QString temporaryFolder() const { return m_folder.filePath(QStringLiteral("converted")); }

    QStringList temporaryFiles() const { return QDir(temporaryFolder()).entryList(QDir::Files); }

    QTemporaryDir m_folder;
    ImpatientClock m_clock;
    WorkerProcessPool m_workers{1, helperProgramPath()};
};

} // namespace

TEST_F(DicomClients, ParsingGivesTypedElements)
{
    const QString path =
        write(QStringLiteral("Bild ü.dcm"),
              smallObject(element(0x0008, 0x0030, "TM", "120000.5") + element(0x0008, 0x0201, "SH", "+0200") +
                          element(0x0020, 0x0011, "IS", "3") + element(0x0020, 0x0032, "DS", "1.5\\-2\\3") +
                          element(0x0020, 0x1041, "DS", "7.25")));

    const ParsedFile file = DicomFile(m_workers, m_clock).parse(path);

    ASSERT_EQ(file.fate, Fate::parsed);
    const DicomElements &elements = file.elements;
    EXPECT_EQ(elements.value(QStringLiteral("patientUID")), QVariant(QStringLiteral("P1")));
    EXPECT_EQ(elements.value(QStringLiteral("filePath")), QVariant(path));
    EXPECT_EQ(elements.value(QStringLiteral("hasDICOM")), QVariant(true));
    EXPECT_EQ(elements.value(QStringLiteral("width")), QVariant(64LL));
    EXPECT_EQ(elements.value(QStringLiteral("seriesNumber")), QVariant(3LL));
    EXPECT_EQ(elements.value(QStringLiteral("sliceLocation")), QVariant(7.25));
    EXPECT_EQ(elements.value(QStringLiteral("origin")), QVariant(QVariantList{1.5, -2.0, 3.0}));
    EXPECT_EQ(elements.value(QStringLiteral("studyDate")).toDateTime(),
              QDateTime(QDate(2020, 1, 31), QTime(10, 0, 0, 500), Qt::UTC));
    EXPECT_FALSE(elements.contains(QStringLiteral("orientation")));
    EXPECT_FALSE(elements.contains(QStringLiteral("numberOfSeries")));
}

TEST_F(DicomClients, ADateWithoutATimeIsMidnightWhereTheGatewayStands)
{
    const QString path = write(QStringLiteral("a"), smallObject());

    const ParsedFile file = DicomFile(m_workers, m_clock).parse(path);

    ASSERT_EQ(file.fate, Fate::parsed);
    const DicomElements &elements = file.elements;
    const QDateTime date = elements.value(QStringLiteral("studyDate")).toDateTime();
    EXPECT_EQ(date.timeSpec(), Qt::UTC);
    EXPECT_EQ(date.toLocalTime().date(), QDate(2020, 1, 31));
}

TEST_F(DicomClients, WhatIsNotDicomIsToldAtOnce)
{
    DicomFile parser(m_workers, m_clock);

    EXPECT_EQ(parser.parse(write(QStringLiteral("a"), "no image")).fate, Fate::notDicom);
    EXPECT_EQ(parser.parse(write(QStringLiteral("b"), "")).fate, Fate::notDicom);
    EXPECT_EQ(parser.parse(m_folder.path()).fate, Fate::notDicom) << "a folder";
    EXPECT_EQ(m_clock.sleeps, 0);
}

TEST_F(DicomClients, AFileThatCannotBeOpenedIsTroubleWithItsNumber)
{
    const ParsedFile file = DicomFile(m_workers, m_clock).parse(m_folder.filePath(QStringLiteral("none")));

    EXPECT_EQ(file.fate, Fate::trouble);
    EXPECT_EQ(file.code, ENOENT);
    EXPECT_NE(file.message, QString());
    EXPECT_EQ(m_clock.sleeps, 2);
}

TEST_F(DicomClients, TroubleThatPassesBetweenTwoTriesIsNotNoticed)
{
    const QString path = m_folder.filePath(QStringLiteral("a"));
    m_clock.onSleep = [&] { write(QStringLiteral("a"), smallObject()); };

    EXPECT_EQ(DicomFile(m_workers, m_clock).parse(path).fate, Fate::parsed);
    EXPECT_EQ(m_clock.sleeps, 1);
}

TEST_F(DicomClients, AWorkerThatCannotBeStartedIsWaitedFor)
{
    const QString path = write(QStringLiteral("a"), smallObject());
    const QString program = m_folder.filePath(QStringLiteral("program"));
    WorkerProcessPool workers(1, program);
    m_clock.onSleep = [&] {
        if (m_clock.sleeps == 3) {
            QFile::link(helperProgramPath(), program);
        }
    };

    const ParsedFile file = DicomFile(workers, m_clock).parse(path);

    EXPECT_EQ(file.fate, Fate::parsed);
    EXPECT_EQ(m_clock.sleeps, 3);
}

TEST_F(DicomClients, AWorkerThatNeverStartsIsNotTheFilesFault)
{
    WorkerProcessPool workers(1, QStringLiteral("/nowhere/quorin-dicom"));

    EXPECT_EQ(DicomFile(workers, m_clock).parse(write(QStringLiteral("a"), smallObject())).fate,
              Fate::unavailable);
    EXPECT_GE(m_clock.slept, std::chrono::minutes(1));
}

TEST_F(DicomClients, AFileThatCannotBeReadInTimeIsNotToBlame)
{
    WorkerProcessPool workers(1, scriptedWorker());
    DicomFile parser(workers, m_clock, std::chrono::milliseconds(1));

    const ParsedFile file = parser.parse(QStringLiteral("hang"));

    EXPECT_EQ(file.fate, Fate::trouble);
    EXPECT_EQ(file.code, ETIMEDOUT);
    EXPECT_EQ(m_clock.sleeps, 1);
}

TEST_F(DicomClients, AFileThatIsReadAsAWholeHasTimeByItsSize)
{
    const QString path = write(QStringLiteral("a"), smallObject());
    QFile file(path);
    ASSERT_TRUE(file.resize(file.size() + (64 << 20))); // four minutes for the slowest disk

    const ParsedFile parsed =
        DicomFile(m_workers, m_clock, std::chrono::milliseconds(0)).parseWithVersion(path);

    EXPECT_EQ(parsed.fate, Fate::parsed);
    EXPECT_GT(parsed.version, 0);
}

TEST_F(DicomClients, WhatEndsAWorkerThatReadsAllOfAFileCostsTheVersionAlone)
{
    WorkerProcessPool workers(1, scriptedWorker());

    const ParsedFile file = DicomFile(workers, m_clock).parseWithVersion(QStringLiteral("pixels"));

    EXPECT_EQ(file.fate, Fate::parsed);
    EXPECT_EQ(file.version, 0);
    EXPECT_EQ(m_clock.sleeps, 1);
}

TEST_F(DicomClients, AFileThatEndsASecondWorkerIsTroubleAndNotCalledUnreadable)
{
    WorkerProcessPool workers(1, scriptedWorker());

    EXPECT_EQ(DicomFile(workers, m_clock).parse(QStringLiteral("crash")).fate, Fate::trouble);
    EXPECT_EQ(m_clock.sleeps, 1);
}

TEST_F(DicomClients, AWorkerReadsNothingOutsideTheFoldersOfItsJobs)
{
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) <= 0) {
        GTEST_SKIP() << "this kernel has no Landlock";
    }
    const QTemporaryDir elsewhere;
    const QString other = elsewhere.filePath(QStringLiteral("other"));
    const QString link = m_folder.filePath(QStringLiteral("link"));
    ASSERT_TRUE(QFile::copy(write(QStringLiteral("own"), smallObject()), other));
    ASSERT_TRUE(QFile::link(other, link));
    DicomFile dicom(m_workers, m_clock);

    const ParsedFile linked = dicom.parse(link);

    EXPECT_EQ(linked.fate, Fate::trouble);
    EXPECT_EQ(linked.code, EACCES);
    EXPECT_EQ(dicom.parse(other).fate, Fate::parsed);
    EXPECT_EQ(dicom.parse(m_folder.filePath(QStringLiteral("own"))).fate, Fate::parsed);
}

TEST_F(DicomClients, AWorkerReadsEveryCharacterSetInItsCell)
{
    struct Named
    {
        std::string set;
        std::string bytes;
        QString name;
    };
    const std::vector<Named> names{{"ISO_IR 100", "M\xfcller^J\xf6rg", QStringLiteral("Müller^Jörg")},
                                   {"ISO_IR 101", "\xa3\xf3\xb6", QStringLiteral("Łóś")},
                                   {"ISO_IR 144", "\xb8\xd2\xd0\xdd\xde\xd2", QStringLiteral("Иванов")},
                                   {"GB18030", "\xcd\xf5", QStringLiteral("王")},
                                   {"ISO_IR 192", "M\xc3\xbcller", QStringLiteral("Müller")},
                                   {"\\ISO 2022 IR 87", "Y=\x1b$B;3ED\x1b(B", QStringLiteral("Y=山田")},
                                   {"\\ISO 2022 IR 149", "H=\x1b$)C\xfb\xf3", QStringLiteral("H=洪")}};
    for (const Named &named : names) {
        WorkerProcessPool workers(1, helperProgramPath()); // a cell of its own, closed before it reads
        const QString path = write(QStringLiteral("a"),
                                   smallObject(element(0x0008, 0x0005, "CS", named.set) +
                                               element(0x0010, 0x0010, "PN", named.bytes)));

        const ParsedFile file = DicomFile(workers, m_clock).parse(path);

        EXPECT_EQ(file.elements.value(QStringLiteral("patientName")).toString(), named.name) << named.set;
    }
}

TEST_F(DicomClients, AFolderThatWasMadeAnewIsReadLikeTheOneBefore)
{
    DicomFile dicom(m_workers, m_clock);
    const QString folder = m_folder.filePath(QStringLiteral("again"));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(QDir().mkdir(folder));

        EXPECT_EQ(dicom.parse(write(QStringLiteral("again/object"), smallObject())).fate, Fate::parsed);

        ASSERT_TRUE(QDir(folder).removeRecursively());
    }
    EXPECT_EQ(m_clock.sleeps, 0);
}

TEST_F(DicomClients, ImagesOfManyFoldersAreConvertedAndComparedInTurn)
{
    DicomConverterWrapper converter(m_workers, temporaryFolder());
    for (const char *name : {"one", "two", "one", "two"}) {
        const QString folder = QString::fromLatin1(name);
        QDir(m_folder.path()).mkdir(folder);
        const QString path = write(folder + QStringLiteral("/object"), smallObject());

        const SendableFile made = converter.convertToJPEGLossless(path);

        EXPECT_TRUE(made.isConverted) << made.error.toStdString();
        EXPECT_EQ(converter.compare(made.path, path, path), Likeness::different); // the frames are coded
        EXPECT_EQ(converter.compare(made.path, made.path, path), Likeness::same);
    }
}

TEST_F(DicomClients, AVersionIsTheDatasetsAndTheOneThatGoesUp)
{
    const QString path = write(QStringLiteral("a"), smallObject());
    std::string otherHeader = smallObject();
    otherHeader[0] = 'p'; // of the preamble
    const std::int64_t version = DicomFile(m_workers, m_clock).versionOf(path);

    EXPECT_GT(version, 0);
    EXPECT_EQ(DicomFile(m_workers, m_clock).parseWithVersion(path).version, version);
    EXPECT_EQ(DicomFile(m_workers, m_clock).parse(path).version, 0);
    EXPECT_EQ(DicomConverterWrapper(m_workers, temporaryFolder()).makeSendable(path).version, version);
    EXPECT_EQ(DicomFile(m_workers, m_clock).versionOf(write(QStringLiteral("b"), otherHeader)), version);
    EXPECT_NE(DicomFile(m_workers, m_clock).versionOf(write(QStringLiteral("c"), smallObject({}, 32))),
              version);
    EXPECT_EQ(DicomFile(m_workers, m_clock).versionOf(m_folder.filePath(QStringLiteral("none"))), 0);
}

TEST_F(DicomClients, AWorkerThatHasNoDictionaryLeavesConvertingToOneThatHas)
{
    const QString path = write(QStringLiteral("a"), smallObject());
    DicomConverterWrapper converter(m_workers, temporaryFolder());
    EXPECT_EQ(converter.makeSendable(path).path, path);
    const std::vector<pid_t> looking = m_workers.processIds();

    EXPECT_TRUE(converter.convertToJPEGLossless(path).isConverted);

    const std::vector<pid_t> converting = m_workers.processIds();
    EXPECT_NE(converting, looking);
    EXPECT_EQ(converter.makeSendable(path).path, path);
    EXPECT_TRUE(converter.convertToJPEGLossless(path).isConverted);
    EXPECT_EQ(m_workers.processIds(), converting) << "it does both";
}

TEST_F(DicomClients, ConvertingGivesASmallerFileInTheTemporaryFolder)
{
    const QString path = write(QStringLiteral("a"), smallObject());
    DicomConverterWrapper converter(m_workers, temporaryFolder());

    const SendableFile conversion = converter.convertToJPEGLossless(path);

    EXPECT_EQ(conversion.error, QString());
    ASSERT_TRUE(conversion.path.startsWith(temporaryFolder()));
    EXPECT_LT(QFileInfo(conversion.path).size(), QFileInfo(path).size());
    QFile source(path);
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    EXPECT_EQ(source.readAll().toStdString(), smallObject());
    const ParsedFile converted = DicomFile(m_workers, m_clock).parse(conversion.path);
    ASSERT_EQ(converted.fate, Fate::parsed);
    EXPECT_EQ(converted.elements.value(QStringLiteral("SOPUID")), QVariant(QStringLiteral("1.2.3.4.5")));
}

TEST_F(DicomClients, WhereNothingIsToConvertTheGivenPathComesBack)
{
    const QString path = write(QStringLiteral("a"), smallObject({}, 32));

    const SendableFile conversion =
        DicomConverterWrapper(m_workers, temporaryFolder()).convertToJPEGLossless(path);

    EXPECT_EQ(conversion.path, path);
    EXPECT_EQ(conversion.error, QString());
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(DicomClients, AFileWhoseHeaderContradictsItGoesAsACopyUnderTheNameOfItsDataset)
{
    const std::string whole = smallObject();
    const std::string bare = whole.substr(whole.find(std::string("\x08\x00\x16\x00", 4)));
    DicomConverterWrapper converter(m_workers, temporaryFolder());

    const SendableFile good = converter.makeSendable(write(QStringLiteral("a"), whole));
    const SendableFile copy = converter.makeSendable(write(QStringLiteral("b"), bare));
    const SendableFile converted = converter.convertToJPEGLossless(m_folder.filePath(QStringLiteral("b")));

    EXPECT_EQ(good.path, m_folder.filePath(QStringLiteral("a")));
    EXPECT_EQ(good.identity.instance, testing::instanceUid("1.2.3.4.5"));
    EXPECT_TRUE(copy.path.startsWith(temporaryFolder()));
    EXPECT_EQ(copy.identity, good.identity);
    EXPECT_EQ(copy.version, good.version);
    EXPECT_EQ(converted.fate, SendableFile::Fate::ready);
    EXPECT_FALSE(converted.isConverted);
    EXPECT_EQ(converter.compare(copy.path, good.path, good.path), Likeness::same);
    EXPECT_EQ(converter.compare(temporaryFolder(), good.path, good.path), Likeness::unknown);
    EXPECT_EQ(converter.makeSendable(write(QStringLiteral("c"), "none")).fate, SendableFile::Fate::nameless);
}

TEST_F(DicomClients, WhatThisMachineCannotWriteIsNoFaultOfTheFile)
{
    const std::string whole = smallObject();
    const QString path =
        write(QStringLiteral("a"), whole.substr(whole.find(std::string("\x08\x00\x16\x00", 4))));
    const QString blocked = write(QStringLiteral("no folder"), "");

    EXPECT_EQ(DicomConverterWrapper(m_workers, blocked).makeSendable(path).fate,
              SendableFile::Fate::machineTrouble);
}

TEST_F(DicomClients, AFailedConversionHasAnErrorAndLeavesNoFile)
{
    const std::string whole = smallObject();
    DicomConverterWrapper converter(m_workers, temporaryFolder());

    const SendableFile missing = converter.convertToJPEGLossless(m_folder.filePath(QStringLiteral("none")));
    const SendableFile truncated =
        converter.convertToJPEGLossless(write(QStringLiteral("a"), whole.substr(0, whole.size() - 100)));

    EXPECT_EQ(missing.path, QString());
    EXPECT_NE(missing.error, QString());
    EXPECT_EQ(truncated.path, QString());
    EXPECT_NE(truncated.error, QString());
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(DicomClients, AWorkerThatDiesInAConversionIsAnErrorAndLeavesNoFile)
{
    WorkerProcessPool workers(1, scriptedWorker());

    const SendableFile conversion = DicomConverterWrapper(workers, temporaryFolder())
                                        .convertToJPEGLossless(write(QStringLiteral("a"), smallObject()));

    EXPECT_EQ(conversion.path, QString());
    EXPECT_EQ(conversion.error, QStringLiteral("the worker ended in the middle of the conversion"));
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(DicomClients, AFolderThatCannotBeMadeIsAnError)
{
    const QString path = write(QStringLiteral("a"), smallObject());

    const SendableFile conversion =
        DicomConverterWrapper(m_workers, path + QStringLiteral("/inside")).convertToJPEGLossless(path);

    EXPECT_EQ(conversion.path, QString());
    EXPECT_NE(conversion.error, QString());
}

TEST_F(DicomClients, LeftoversOfACrashAreSweptAndNothingElse)
{
    DicomConverterWrapper converter(m_workers, temporaryFolder());
    const SendableFile leftover = converter.convertToJPEGLossless(write(QStringLiteral("a"), smallObject()));
    write(QStringLiteral("converted/other"), "other");

    EXPECT_EQ(converter.sweepLeftovers(), 1);
    EXPECT_EQ(converter.sweepLeftovers(), 0);

    EXPECT_FALSE(QFile::exists(leftover.path));
    EXPECT_EQ(temporaryFiles(), QStringList{QStringLiteral("other")});
}

} // namespace gateway::platform
