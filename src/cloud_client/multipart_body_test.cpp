#include "cloud_client/multipart_body.h"
#include "cloud_client/testing/sample_files.h"

#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace gateway::cloud_client {
using testing::SampleFiles;

namespace {

BodyPart filePart(const QUrl &url)
{
    const auto file = ReadableFile::open(url.toLocalFile());
    return {"Content-Type: application/dicom\r\n", {}, url.toLocalFile(), file->identity()};
}

QByteArray readAll(MultipartBody &body, qint64 step)
{
    QByteArray all;
    QByteArray buffer(step, '\0');
    while (const qint64 count = body.read(buffer.data(), buffer.size())) {
        all += buffer.left(count);
    }
    return all;
}

} // namespace

TEST(MultipartBody, IsTheSameBytesHoweverItIsRead)
{
    SampleFiles files;
    MultipartBody body({filePart(files.file(QStringLiteral("a"), "first")),
                        {"X: y\r\n", "second", {}, {}},
                        filePart(files.file(QStringLiteral("b"), QByteArray(5000, 'z')))});
    const QByteArray boundary = body.boundary();

    const QByteArray expected = "--" + boundary + "\r\nContent-Type: application/dicom\r\n\r\nfirst\r\n--" +
                                boundary + "\r\nX: y\r\n\r\nsecond\r\n--" + boundary +
                                "\r\nContent-Type: application/dicom\r\n\r\n" + QByteArray(5000, 'z') +
                                "\r\n--" + boundary + "--\r\n";
    for (const qint64 step : {1, 7, 100, 100'000}) {
        body.seek(0);
        EXPECT_EQ(readAll(body, step), expected) << step;
    }
    EXPECT_EQ(body.size(), expected.size());
    body.seek(expected.size() - 10);
    EXPECT_EQ(readAll(body, 64), expected.right(10));
}

TEST(MultipartBody, UsesEachBoundaryOnceAndWithinTheSeventyCharactersAllowed)
{
    EXPECT_LE(MultipartBody({}).boundary().size(), 70);
    EXPECT_NE(MultipartBody({}).boundary(), MultipartBody({}).boundary());
}

TEST(MultipartBody, FailsWhenAFileShrinksGrowsOrIsReplacedBeforeItsTurn)
{
    SampleFiles files;
    for (const QByteArray &later : {QByteArray("short"), QByteArray("much longer than before")}) {
        const QUrl url = files.file(QStringLiteral("a"), "as it was");
        MultipartBody body({filePart(files.file(QStringLiteral("b"), "other")), filePart(url)});
        files.file(QStringLiteral("a"), later);

        try {
            readAll(body, 4096);
            ADD_FAILURE() << later.constData();
        } catch (const FileChanged &changed) {
            EXPECT_EQ(changed.part(), 1);
        }
    }
}

TEST(MultipartBody, FailsWhenAFileChangesWhileItIsBeingRead)
{
    SampleFiles files;
    const QUrl url = files.file(QStringLiteral("a"), QByteArray(1000, 'a'));
    MultipartBody body({filePart(url)});
    QByteArray buffer(500, '\0');
    ASSERT_EQ(body.read(buffer.data(), buffer.size()), 500);

    QFile file(url.toLocalFile());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.resize(600));
    file.close();

    EXPECT_THROW(readAll(body, 4096), FileChanged);
}

TEST(MultipartBody, FailsWhenAFileHasGone)
{
    SampleFiles files;
    const QUrl url = files.file(QStringLiteral("a"), "soon gone");
    MultipartBody body({filePart(url)});
    ASSERT_TRUE(QFile::remove(url.toLocalFile()));

    EXPECT_THROW(readAll(body, 4096), FileChanged);
}

TEST(ReadableFile, OpensRegularFilesAloneAndNeverWaits)
{
    SampleFiles files;
    const QByteArray pipe = QFile::encodeName(files.path(QStringLiteral("pipe")));
    ASSERT_EQ(::mkfifo(pipe.constData(), 0600), 0);

    EXPECT_FALSE(ReadableFile::open(files.path(QStringLiteral("pipe"))));
    EXPECT_FALSE(ReadableFile::open(files.path(QStringLiteral("missing"))));
    EXPECT_FALSE(ReadableFile::open(QStringLiteral("/")));
    EXPECT_FALSE(ReadableFile::open(QString()));
}

} // namespace gateway::cloud_client
