#include "index/testing/temporary_index.h"

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

const QString kRefused = QStringLiteral("refused");
const QString kUnreachable = QStringLiteral("unreachable");

class UploadFailures : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    QList<UploadFailure> all()
    {
        UploadFailureCursor fromTheNewest;
        return index.uploadFailures(100, fromTheNewest);
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
};

} // namespace

TEST_F(UploadFailures, TellWhichFileFailedWhenAndWhy)
{
    const QString path = importOne(QStringLiteral("1.2.3.4"), {{QStringLiteral("numberOfFrames"), 2}});
    home.clock.advance(std::chrono::seconds(5));

    EXPECT_TRUE(index.recordUploadFailure(path, kRefused, 409));

    const UploadFailure expected{path,
                                 index.fileURL(path),
                                 QStringLiteral("1.2.3.4"),
                                 QStringLiteral("1.2"),
                                 kRefused,
                                 409,
                                 home.clock.now()};
    EXPECT_EQ(all(), QList<UploadFailure>{expected});
}

TEST_F(UploadFailures, AreTheLastOfEachFile)
{
    const QString path = importOne(QStringLiteral("9.1"));
    index.recordUploadFailure(path, kUnreachable, 7);
    home.clock.advance(std::chrono::seconds(1));

    index.recordUploadFailure(path, kRefused, 409);

    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all().first().failureClass, kRefused);
    EXPECT_EQ(all().first().failureCode, 409);
    EXPECT_EQ(all().first().failedAt, home.clock.now());
}

TEST_F(UploadFailures, ComeNewestFirstInPages)
{
    QStringList newestFirst;
    for (int number = 0; number < 5; ++number) {
        newestFirst.prepend(importOne(QStringLiteral("9.%1").arg(number)));
        index.recordUploadFailure(newestFirst.first(), kRefused, number);
    }

    UploadFailureCursor cursor;
    QStringList read;
    QList<qsizetype> sizes;
    for (auto page = index.uploadFailures(2, cursor); !page.isEmpty();
         page = index.uploadFailures(2, cursor)) {
        sizes.append(page.size());
        for (const UploadFailure &failure : page) {
            read.append(failure.storagePath);
        }
    }

    EXPECT_EQ(read, newestFirst);
    EXPECT_EQ(sizes, (QList<qsizetype>{2, 2, 1}));
}

TEST_F(UploadFailures, OfOneMomentAreAllReached)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.2"));
    index.recordUploadFailure(first, kRefused, 1);
    index.recordUploadFailure(second, kRefused, 2);

    UploadFailureCursor cursor;
    const auto firstPage = index.uploadFailures(0, cursor);
    const auto secondPage = index.uploadFailures(0, cursor);

    ASSERT_EQ(firstPage.size(), 1);
    ASSERT_EQ(secondPage.size(), 1);
    EXPECT_NE(firstPage.first().storagePath, secondPage.first().storagePath);
    EXPECT_TRUE(index.uploadFailures(9, cursor).isEmpty());
}

TEST_F(UploadFailures, AreForgottenWhenAResultSaysSynced)
{
    const QString path = importOne(QStringLiteral("9.1"));
    const QString other = importOne(QStringLiteral("9.2"));
    index.recordUploadFailure(path, kRefused, 409);
    index.recordUploadFailure(other, kRefused, 409);

    index.recordUploadResult({}, path, false);
    EXPECT_EQ(all().size(), 2);
    index.recordUploadResult({}, path, true);

    ASSERT_EQ(all().size(), 1);
    EXPECT_EQ(all().first().storagePath, other);
}

TEST_F(UploadFailures, AreForgottenWhenAskedTo)
{
    const QString path = importOne(QStringLiteral("9.1"));
    index.recordUploadFailure(path, kRefused, 409);

    index.forgetUploadFailure(path);

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, GoWithTheLastRowOfTheirFile)
{
    const QString path = importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 2}});
    index.recordUploadFailure(path, kRefused, 409);

    home.execute(QStringLiteral("DELETE FROM DicomImage WHERE frameID = 0"));
    EXPECT_EQ(all().size(), 1);
    home.execute(QStringLiteral("PRAGMA foreign_keys = 1; DELETE FROM Study"));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, GoWhenTheImageIsSentAnewAndStandsInAnotherFile)
{
    const QString path = importOne(QStringLiteral("9.1"));
    index.recordUploadFailure(path, kRefused, 409);

    importOne(QStringLiteral("9.1"));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, OfAFileWithoutRowsAreNotKept)
{
    EXPECT_FALSE(index.recordUploadFailure(QStringLiteral("10000/77.dcm"), kRefused, 409));
    EXPECT_FALSE(index.recordUploadFailure(QStringLiteral("  "), kRefused, 409));

    EXPECT_TRUE(all().isEmpty());
}

TEST_F(UploadFailures, AreCountedByClassAndCodeTheMostFrequentFirst)
{
    EXPECT_TRUE(index.uploadFailureCounts().isEmpty());
    index.recordUploadFailure(importOne(QStringLiteral("9.1")), kUnreachable, 7);
    index.recordUploadFailure(importOne(QStringLiteral("9.2")), kRefused, 409);
    index.recordUploadFailure(importOne(QStringLiteral("9.3")), kRefused, 409);
    index.recordUploadFailure(importOne(QStringLiteral("9.4")), kRefused, 400);

    EXPECT_EQ(index.uploadFailureCounts(),
              (QList<UploadFailureCount>{{kRefused, 409, 2}, {kRefused, 400, 1}, {kUnreachable, 7, 1}}));
}

TEST_F(UploadFailures, OutliveARestart)
{
    index.recordUploadFailure(importOne(QStringLiteral("9.1")), kRefused, 409);

    home.reopen();

    UploadFailureCursor fromTheNewest;
    EXPECT_EQ(home.index().uploadFailures(9, fromTheNewest).size(), 1);
}

} // namespace gateway::index
