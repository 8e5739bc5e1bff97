#include "cloud/store/archive_index.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

/// An instance with the given attributes besides its UIDs.
NewInstance instance(const QString &study,
                     const QString &series,
                     const QString &sop,
                     std::map<std::uint32_t, QString> attributes = {})
{
    attributes[kStudyInstanceUid] = study;
    attributes[kSeriesInstanceUid] = series;
    attributes[kSopInstanceUid] = sop;
    return {{{}, attributes}, QStringLiteral("00/%1-%2").arg(study, sop), 100};
}

class ArchiveIndexTest : public ::testing::Test
{
protected:
    /// The first column of what a study search finds.
    QStringList search(const char *keyword, const char *value)
    {
        ArchiveQuery query;
        query.matches = {{attributeNamed(keyword), QString::fromUtf8(value)}};
        query.columns = {attributeNamed("StudyInstanceUID")};
        QStringList found;
        for (const auto &row : index.query(query)) {
            found.append(row.front());
        }
        return found;
    }

    QTemporaryDir home;
    ArchiveIndex index{home.filePath(QStringLiteral("i.sqlite")), true};
};

const QString kOne = QStringLiteral("1");
const QString kTwo = QStringLiteral("2");
const QString kSeries = QStringLiteral("1.1");

TEST_F(ArchiveIndexTest, CountsWhatItHolds)
{
    index.record(
        {instance(kOne, kSeries, QStringLiteral("a")), instance(kOne, kSeries, QStringLiteral("b"))});

    EXPECT_EQ(index.totals().instances, 2);
    EXPECT_EQ(index.totals().bytes, 200);
    const ArchiveIndex again(home.filePath(QStringLiteral("i.sqlite")), true);
    EXPECT_EQ(again.totals().instances, 2);
    EXPECT_EQ(again.totals().bytes, 200);
}

TEST_F(ArchiveIndexTest, PutsAnInstanceThatComesAgainIntoItsNewFile)
{
    index.record({instance(kOne, kSeries, QStringLiteral("a"))});
    NewInstance again = instance(kOne, kSeries, QStringLiteral("a"));
    again.file = QStringLiteral("00/new");
    again.bytes = 30;

    const std::vector<QString> unused = index.record({again});

    EXPECT_EQ(unused, std::vector<QString>{QStringLiteral("00/1-a")});
    const std::vector<StoredInstance> stored = index.instances({});
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored[0].file, QStringLiteral("00/new"));
    EXPECT_EQ(stored[0].timesStored, 2);
    EXPECT_EQ(index.totals().bytes, 30);
    EXPECT_EQ(index.totals().instances, 1);
}

TEST_F(ArchiveIndexTest, KeepsAnInstanceUidThatComesInTwoStudiesInBoth)
{
    index.record({instance(kOne, kSeries, QStringLiteral("a"))});

    EXPECT_TRUE(index.record({instance(kTwo, kSeries, QStringLiteral("a"))}).empty());

    EXPECT_EQ(search("StudyInstanceUID", ""), (QStringList{kOne, kTwo}));
    EXPECT_EQ(index.totals().instances, 2);
}

TEST_F(ArchiveIndexTest, TakesOverAnIndexThatHadOnePlaceForAnInstanceUid)
{
    index.record(
        {instance(kOne, kSeries, QStringLiteral("a")), instance(kOne, kSeries, QStringLiteral("b"))});
    const QString path = home.filePath(QStringLiteral("i.sqlite"));
    {
        platform::Database old = platform::Database::open(path, platform::Database::Access::readWrite);
        old.exec("CREATE TABLE copy AS SELECT * FROM instances; DROP TABLE instances;"
                 "ALTER TABLE copy RENAME TO instances;"
                 "CREATE UNIQUE INDEX one ON instances (SOPInstanceUID); PRAGMA user_version = 0;");
    }

    ArchiveIndex again(path, true);
    again.record({instance(kTwo, kSeries, QStringLiteral("a"))});

    EXPECT_EQ(again.totals().instances, 3);
    EXPECT_EQ(again.instances({kOne, kSeries, QStringLiteral("b")}).size(), 1U);
}

TEST_F(ArchiveIndexTest, RemovesAScopeWithEmptiedParents)
{
    index.record({instance(kOne, kSeries, QStringLiteral("a")),
                  instance(kOne, QStringLiteral("1.2"), QStringLiteral("b")),
                  instance(kTwo, QStringLiteral("2.1"), QStringLiteral("c"))});

    EXPECT_EQ(index.remove({kOne, kSeries, std::nullopt}), std::vector<QString>{QStringLiteral("00/1-a")});
    EXPECT_EQ(search("NumberOfStudyRelatedSeries", "1"), (QStringList{kOne, kTwo}));
    EXPECT_EQ(index.remove({kOne, std::nullopt, std::nullopt}).size(), 1U);
    EXPECT_EQ(search("StudyInstanceUID", ""), QStringList{kTwo});
    EXPECT_TRUE(index.remove({kOne, std::nullopt, std::nullopt}).empty());
    EXPECT_EQ(index.totals().bytes, 100);
}

TEST_F(ArchiveIndexTest, MatchesAsTheStandardSays)
{
    index.record({instance(kOne,
                           kSeries,
                           QStringLiteral("a"),
                           {{0x00100010, QStringLiteral("Doe^Jane=x")},
                            {0x00100020, QStringLiteral("A[1]%")},
                            {0x00080020, QStringLiteral("20240315")},
                            {0x00080030, QStringLiteral("103059.5")},
                            {0x00080060, QStringLiteral("CT")}}),
                  instance(kTwo,
                           QStringLiteral("2.1"),
                           QStringLiteral("b"),
                           {{0x00100010, QStringLiteral("Roe^Rick")},
                            {0x00100020, QStringLiteral("B_2")},
                            {0x00080020, QStringLiteral("20240401")},
                            {0x00080060, QStringLiteral("MR")}})});

    struct Case
    {
        const char *keyword;
        const char *value;
        QStringList found;
    };
    const QStringList both{kOne, kTwo};
    const Case cases[] = {
        {"PatientName", "doe^jane", {kOne}},
        {"PatientName", "D*", {kOne}},
        {"PatientName", "?oe^*", both},
        {"PatientName", "%", {}},
        {"PatientName", "", both},
        {"PatientName", "*", both},
        {"PatientID", "A[1]%", {kOne}},
        {"PatientID", "A[1]*", {kOne}},
        {"PatientID", "a[1]*", {}},
        {"PatientID", "B?2", {kTwo}},
        {"StudyDate", "20240315", {kOne}},
        {"StudyDate", "20240301-20240331", {kOne}},
        {"StudyDate", "20240401-", {kTwo}},
        {"StudyDate", "-20240331", {kOne}},
        {"StudyTime", "1000-1030", {kOne}},
        {"StudyTime", "1031-", {}},
        {"StudyInstanceUID", "2,3", {kTwo}},
        {"StudyInstanceUID", "1\\2", both},
        {"StudyInstanceUID", ",", {}},
        {"ModalitiesInStudy", "MR", {kTwo}},
        {"ModalitiesInStudy", "MR,CT", both},
        {"NumberOfStudyRelatedInstances", "1", both},
    };
    for (const Case &each : cases) {
        EXPECT_EQ(search(each.keyword, each.value), each.found) << each.keyword << ' ' << each.value;
    }
}

TEST_F(ArchiveIndexTest, PagesInTheOrderOfArrivalAlsoWhileNewStudiesArrive)
{
    for (int i = 0; i < 5; ++i) {
        index.record({instance(QString::number(9 - i), kSeries, QString::number(i))});
    }
    ArchiveQuery query;
    query.columns = {attributeNamed("StudyInstanceUID")};
    query.limit = 2;

    QStringList found;
    for (query.offset = 0; query.offset < 6; query.offset += 2) {
        for (const auto &row : index.query(query)) {
            found.append(row.front());
        }
        index.record({instance(QString::number(9), kSeries, QStringLiteral("again"))});
    }

    EXPECT_EQ(found.join(u','), QStringLiteral("9,8,7,6,5"));
}

} // namespace
} // namespace gateway::cloud
