#include "platform/dicom/inbox_files.h"
#include "platform/dicom/testing/running_store_scp.h"
#include "platform/dicom/testing/scripted_modality.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {

using testing::RunningStoreSCP;

namespace {

/// Runs one of the toolkit's programs to its end. \return its exit status, -1 when it isn't there.
int runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    constexpr int kForEver = -1;
    if (!process.waitForFinished(kForEver) || process.exitStatus() != QProcess::NormalExit) {
        return -1;
    }
    return process.exitCode();
}

/// A grey object of 64 x 64 x 16 bits as a file.
QString makeObject(const QTemporaryDir &folder, int number)
{
    const QString path = folder.filePath(QStringLiteral("%1.dcm").arg(number));
    const QString text = folder.filePath(QStringLiteral("%1.dump").arg(number));
    QFile dump(text);
    EXPECT_TRUE(dump.open(QIODevice::WriteOnly));
    const auto pixels = QByteArray("1234\\").repeated(64 * 64 - 1) + "1235";
    dump.write(
        "(0008,0016) UI =CTImageStorage\n(0008,0018) UI [1.2.3.4." + QByteArray::number(number) +
        "]\n(0010,0010) PN [Doe^John]\n(0010,0020) LO [4711]\n(0020,000d) UI [1.2.3.4]\n"
        "(0020,000e) UI [1.2.3.5]\n(0028,0002) US 1\n(0028,0004) CS [MONOCHROME2]\n(0028,0010) US 64\n"
        "(0028,0011) US 64\n(0028,0100) US 16\n(0028,0101) US 12\n(0028,0102) US 11\n(0028,0103) US 0\n"
        "(7fe0,0010) OW " +
        pixels + "\n");
    dump.close();
    EXPECT_EQ(runTool(QStringLiteral("dump2dcm"),
                      {QStringLiteral("+l"), QStringLiteral("100000"), QStringLiteral("+te"), text, path}),
              0);
    return path;
}

/// What follows the file meta information, by the group length that says where it ends.
QByteArray dataSetOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    constexpr qsizetype kLengthValue = 128 + 4 + 8;
    qsizetype length = 0;
    for (int i = 3; i >= 0; --i) {
        length = length * 256 + static_cast<std::uint8_t>(bytes.at(kLengthValue + i));
    }
    return bytes.mid(kLengthValue + 4 + length);
}

} // namespace

TEST(RealSenders, EchoscuIsAnswered)
{
    const QTemporaryDir inbox;
    RunningStoreSCP running(inbox.path());

    EXPECT_EQ(
        runTool(QStringLiteral("echoscu"), {QStringLiteral("127.0.0.1"), QString::number(running.port())}),
        0);

    EXPECT_EQ(running.await(QStringLiteral("complete")).size(), 1);
}

TEST(RealSenders, StorescuSendsManyObjectsByteForByte)
{
    const QTemporaryDir inbox;
    const QTemporaryDir source;
    RunningStoreSCP running(inbox.path());
    QStringList arguments{QStringLiteral("-aec"),
                          QStringLiteral("ANY-SCP"),
                          QStringLiteral("127.0.0.1"),
                          QString::number(running.port())};
    QSet<QByteArray> sent;
    for (int i = 1; i <= 5; ++i) {
        arguments.append(makeObject(source, i));
        sent.insert(dataSetOf(arguments.last()));
    }

    EXPECT_EQ(runTool(QStringLiteral("storescu"), arguments), 0);

    QSet<QByteArray> received;
    for (const QString &path : completeInboxFiles(inbox.path())) {
        received.insert(dataSetOf(path));
    }
    EXPECT_EQ(sent.size(), 5);
    EXPECT_EQ(received, sent);
    EXPECT_EQ(running.await(QStringLiteral("complete")).size(), 1);
}

TEST(RealSenders, StorescuSendsAnObjectInJpegLs)
{
    const QTemporaryDir inbox;
    const QTemporaryDir source;
    RunningStoreSCP running(inbox.path());
    const QString compressed = source.filePath(QStringLiteral("compressed.dcm"));
    ASSERT_EQ(runTool(QStringLiteral("dcmcjpls"), {makeObject(source, 1), compressed}), 0);

    EXPECT_EQ(runTool(QStringLiteral("storescu"),
                      {QStringLiteral("-xt"),
                       QStringLiteral("127.0.0.1"),
                       QString::number(running.port()),
                       compressed}),
              0);

    const QStringList files = completeInboxFiles(inbox.path());
    ASSERT_EQ(files.size(), 1);
    EXPECT_EQ(dataSetOf(files.first()), dataSetOf(compressed));
}

TEST(RealSenders, DcmsendSendsAndTheToolkitReadsWhatWeWrote)
{
    const QTemporaryDir inbox;
    const QTemporaryDir source;
    RunningStoreSCP running(inbox.path());

    EXPECT_EQ(runTool(QStringLiteral("dcmsend"),
                      {QStringLiteral("127.0.0.1"), QString::number(running.port()), makeObject(source, 1)}),
              0);

    const QStringList files = completeInboxFiles(inbox.path());
    ASSERT_EQ(files.size(), 1);
    EXPECT_EQ(runTool(QStringLiteral("dcmftest"), files), 0);
    EXPECT_EQ(runTool(QStringLiteral("dcmdump"), {QStringLiteral("-q"), files.first()}), 0);
}

TEST(RealSenders, StorescuAbortingAnAssociationLosesNothingThatWasAcknowledged)
{
    const QTemporaryDir inbox;
    const QTemporaryDir source;
    RunningStoreSCP running(inbox.path());

    runTool(QStringLiteral("storescu"),
            {QStringLiteral("--abort"),
             QStringLiteral("127.0.0.1"),
             QString::number(running.port()),
             makeObject(source, 1)});

    EXPECT_EQ(running.await(QStringLiteral("failed")).size(), 1);
    EXPECT_EQ(completeInboxFiles(inbox.path()).size(), 1);
}

} // namespace gateway::platform
