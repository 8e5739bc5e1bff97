#include "browser/local_study_series_row.h"
#include "browser/quorin_cloud_qido_series_row.h"
#include "browser/quorin_cloud_qido_study_row.h"
#include "browser/quorin_gateway_local_study_row.h"
#include "browser/row_texts.h"
#include "browser/table_rows.h"
#include "browser/testing/fake_archive.h"

#include <QtCore/QLocale>

#include <gtest/gtest.h>

#include <limits>

namespace gateway::browser::testing {

namespace {

using cloud_client::QrnDicomTag;

QVariantMap name(const char *alphabetic, const char *ideographic, const char *phonetic)
{
    QVariantMap groups;
    const std::pair<const char *, const char *> all[] = {
        {"Alphabetic", alphabetic}, {"Ideographic", ideographic}, {"Phonetic", phonetic}};
    for (const auto &[group, text] : all) {
        if (text != nullptr) {
            groups.insert(QString::fromLatin1(group), QString::fromUtf8(text));
        }
    }
    return groups;
}

QuorinCloudQidoStudyRow studyNamed(const QVariant &patientName)
{
    return QuorinCloudQidoStudyRow::of(object({{QrnDicomTag::PatientName, patientName}}));
}

QuorinCloudQidoStudyRow studyOf(const char *date)
{
    return QuorinCloudQidoStudyRow::of(object({{QrnDicomTag::StudyDate, QString::fromLatin1(date)}}));
}

QuorinCloudQidoSeriesRow seriesNumbered(const QVariant &number)
{
    return QuorinCloudQidoSeriesRow::of(object({{QrnDicomTag::SeriesNumber, number}}));
}

/// The program's locale, for as long as this lives.
class DefaultLocale
{
public:
    explicit DefaultLocale(const QLocale &locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(m_before); }

    DefaultLocale(const DefaultLocale &) = delete;
    DefaultLocale &operator=(const DefaultLocale &) = delete;

private:
    const QLocale m_before;
};

template <typename Row>
QStringList column(std::vector<Row> rows, SortOrder order)
{
    const RowsOf<Row> all(std::move(rows));
    QStringList texts;
    for (const quint32 position : all.sorted(order)) {
        texts.append(all.text(position, order.column));
    }
    return texts;
}

template <typename Row>
bool isFoundBy(const Row &row, const char *search)
{
    return RowsOf<Row>({row}).matches(0, needleOf(QString::fromUtf8(search)));
}

} // namespace

TEST(CloudStudyRow, ShowsWhatAStudyHasTrimmed)
{
    const auto row =
        QuorinCloudQidoStudyRow::of(object({{QrnDicomTag::StudyInstanceUID, QStringLiteral(" 1.2.3\n")},
                                            {QrnDicomTag::PatientName, name("Doe^Jane ", nullptr, nullptr)},
                                            {QrnDicomTag::PatientID, QStringLiteral(" P1")},
                                            {QrnDicomTag::StudyDescription, QStringLiteral("Head ")},
                                            {QrnDicomTag::ModalitiesInStudy, QStringLiteral("CT")},
                                            {QrnDicomTag::AccessionNumber, QStringLiteral("A7")},
                                            {QrnDicomTag::StudyDate, QStringLiteral("20260102")},
                                            {QrnDicomTag::StudyTime, QStringLiteral("131415.999")},
                                            {QrnDicomTag::NumberOfStudyRelatedInstances, 12}}));

    EXPECT_EQ(row.id, QStringLiteral("1.2.3"));
    EXPECT_EQ(row.studyInstanceUIDRaw, QStringLiteral("1.2.3"));
    EXPECT_EQ(row.studyInstanceUID, QStringLiteral("1.2.3"));
    EXPECT_EQ(row.patientName, QStringLiteral("Doe^Jane"));
    EXPECT_EQ(row.patientID, QStringLiteral("P1"));
    EXPECT_EQ(row.studyDescription, QStringLiteral("Head"));
    EXPECT_EQ(row.modality, QStringLiteral("CT"));
    EXPECT_EQ(row.accessionNumber, QStringLiteral("A7"));
    EXPECT_EQ(row.studyDateRaw, QStringLiteral("20260102"));
    EXPECT_EQ(row.studyDateDisplay, QStringLiteral("2026-01-02"));
    EXPECT_EQ(row.studyTimeRaw, QStringLiteral("131415"));
    EXPECT_EQ(row.studyTimeDisplay, QStringLiteral("13:14:15"));
    EXPECT_EQ(row.numberOfImages, 12);
    EXPECT_TRUE(isFoundBy(row, "DOE^Jane P1 head A7 ct 1.2.3"));
}

TEST(CloudStudyRow, ShowsDashesForWhatIsMissingAndStaysApartFromOthers)
{
    const auto row = QuorinCloudQidoStudyRow::of({});

    EXPECT_TRUE(row.studyInstanceUIDRaw.isEmpty());
    EXPECT_EQ(row.studyInstanceUID, kMissing);
    for (int column = 0; column < QuorinCloudQidoStudyRow::columnTotal; ++column) {
        EXPECT_EQ(row.text(column), column == QuorinCloudQidoStudyRow::imagesColumn ? u"0"_qs : kMissing);
    }
    EXPECT_FALSE(row.id.isEmpty());
    EXPECT_NE(row.id, QuorinCloudQidoStudyRow::of({}).id);
}

TEST(CloudStudyRow, ReadsADateThroughItsDigits)
{
    EXPECT_EQ(studyOf("2026-01-02").studyDateDisplay, QStringLiteral("2026-01-02"));
    EXPECT_EQ(studyOf("2026.01.02").studyDateRaw, QStringLiteral("20260102"));
    EXPECT_EQ(studyOf("202601").studyDateDisplay, kMissing);
    EXPECT_EQ(studyOf("20261399").studyDateDisplay, kMissing);
    EXPECT_TRUE(studyOf("20261399").studyDateRaw.isEmpty());
}

TEST(CloudStudyRow, SortsUnreadableDatesLastWhenTheNewestComeFirst)
{
    EXPECT_EQ(column<QuorinCloudQidoStudyRow>(
                  {studyOf("2026"), studyOf("20250101"), studyOf("20260101"), studyOf("")},
                  {QuorinCloudQidoStudyRow::dateColumn, false}),
              QStringList({QStringLiteral("2026-01-01"), QStringLiteral("2025-01-01"), kMissing, kMissing}));
}

TEST(CloudStudyRow, ShowsTheAlphabeticNameAndKeepsTheOthers)
{
    const auto all = studyNamed(name("Yamada^Tarou", "山田^太郎", "やまだ^たろう"));
    EXPECT_EQ(all.patientName, QStringLiteral("Yamada^Tarou"));
    EXPECT_EQ(all.furtherText(QuorinCloudQidoStudyRow::patientNameColumn),
              QStringLiteral("山田^太郎\nやまだ^たろう"));
    EXPECT_TRUE(all.furtherText(QuorinCloudQidoStudyRow::patientIDColumn).isEmpty());

    const auto ideographic = studyNamed(name(nullptr, "山田^太郎", "やまだ^たろう"));
    EXPECT_EQ(ideographic.patientName, QStringLiteral("山田^太郎"));
    EXPECT_EQ(ideographic.furtherNames, QStringLiteral("やまだ^たろう"));

    const auto inOneText = studyNamed(QStringLiteral("Hong^Gildong=洪^吉洞=홍^길동"));
    EXPECT_EQ(inOneText.patientName, QStringLiteral("Hong^Gildong"));
    EXPECT_EQ(inOneText.furtherNames, QStringLiteral("洪^吉洞\n홍^길동"));
}

TEST(CloudSeriesRow, SortsByNumberAndPutsSeriesWithoutOneLast)
{
    EXPECT_EQ(
        column<QuorinCloudQidoSeriesRow>(
            {seriesNumbered(10), seriesNumbered(QVariant()), seriesNumbered(9), seriesNumbered(u" 11 "_qs)},
            {QuorinCloudQidoSeriesRow::numberColumn, true}),
        QStringList({u"9"_qs, u"10"_qs, u"11"_qs, kMissing}));
}

TEST(CloudSeriesRow, ReadsSignsAndTakesTooManyDigitsForNoNumber)
{
    constexpr auto kNone = std::numeric_limits<std::int64_t>::max();

    EXPECT_EQ(seriesNumbered(u"+7"_qs).seriesNumberSort, 7);
    EXPECT_EQ(seriesNumbered(u"-1"_qs).seriesNumberSort, -1);
    EXPECT_EQ(seriesNumbered(u"-1"_qs).seriesNumberDisplay, u"-1"_qs);
    EXPECT_EQ(seriesNumbered(u"99999999999999999999"_qs).seriesNumberSort, kNone);
    EXPECT_EQ(seriesNumbered(u"99999999999999999999"_qs).seriesNumberDisplay, u"99999999999999999999"_qs);
    EXPECT_EQ(seriesNumbered(u" A3 "_qs).seriesNumberRaw, u"A3"_qs);
    EXPECT_EQ(seriesNumbered(u" A3 "_qs).seriesNumberSort, kNone);
}

TEST(CloudSeriesRow, IsSearchedByNumberDescriptionModalityAndUid)
{
    const auto row =
        QuorinCloudQidoSeriesRow::of(object({{QrnDicomTag::SeriesInstanceUID, QStringLiteral("1.9")},
                                             {QrnDicomTag::SeriesNumber, 3},
                                             {QrnDicomTag::Modality, QStringLiteral("MR")},
                                             {QrnDicomTag::SeriesDescription, QStringLiteral("T1")}}));

    EXPECT_TRUE(isFoundBy(row, "3 T1 mr 1.9"));
}

TEST(LocalStudyRow, ShowsWhatTheIndexHas)
{
    index::LocalStudySnapshot study;
    study.id = QStringLiteral("x-coredata://1/Study/p1");
    study.patientName = QStringLiteral("Doe^Jane");
    study.syncState = 2;
    study.acquisitionDate = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::LocalTime).toUTC();
    study.imageCount = -4;
    const auto row = QuorinGatewayLocalStudyRow::of(study, LocalRowWords::current());

    EXPECT_EQ(row.id, study.id);
    EXPECT_EQ(row.studyInstanceUID, kMissing);
    EXPECT_EQ(row.patientName, QStringLiteral("Doe^Jane"));
    EXPECT_EQ(row.syncStateDisplay, QStringLiteral("Failed"));
    EXPECT_EQ(row.acquisitionDateDisplay(), QStringLiteral("2026-01-02 03:04:05"));
    EXPECT_EQ(row.acquisitionDateSortKey, static_cast<double>(study.acquisitionDate->toSecsSinceEpoch()));
    EXPECT_EQ(row.imageCount, 0);
    EXPECT_TRUE(isFoundBy(row, "doe^jane -- -- failed -- -- --"));
}

TEST(LocalStudyRow, TellsEachStateAndKeepsTheNumberOfAnUnknownOne)
{
    EXPECT_EQ(syncStateWord(0), QStringLiteral("Not Synced"));
    EXPECT_EQ(syncStateWord(1), QStringLiteral("Synced"));
    EXPECT_EQ(syncStateWord(2), QStringLiteral("Failed"));
    EXPECT_EQ(syncStateWord(3), QStringLiteral("Syncing"));
    index::LocalStudySnapshot study;
    study.syncState = 9;

    const auto row = QuorinGatewayLocalStudyRow::of(study, LocalRowWords::current());

    EXPECT_EQ(row.syncStateDisplay, QStringLiteral("Not Synced"));
    EXPECT_EQ(row.syncStateSortKey, 9);
}

TEST(LocalStudyRow, SortsStudiesWithoutADateBehindAllOthers)
{
    index::LocalStudySnapshot undated;
    index::LocalStudySnapshot old;
    old.acquisitionDate = QDateTime(QDate(1901, 1, 1), QTime(0, 0), Qt::UTC);

    const QStringList dates =
        column<QuorinGatewayLocalStudyRow>({QuorinGatewayLocalStudyRow::of(undated, LocalRowWords::current()),
                                            QuorinGatewayLocalStudyRow::of(old, LocalRowWords::current())},
                                           {QuorinGatewayLocalStudyRow::dateColumn, false});

    EXPECT_TRUE(dates.first().startsWith(QStringLiteral("190")));
    EXPECT_EQ(dates.last(), kMissing);
}

TEST(LocalSeriesRow, ShowsNoNumberBelowOneAndSortsItFirst)
{
    const auto numbered = [](std::int64_t number) {
        index::LocalSeriesSnapshot series;
        series.seriesNumber = number;
        return LocalStudySeriesRow::of(series);
    };

    EXPECT_EQ(numbered(0).seriesNumberDisplay, kMissing);
    EXPECT_EQ(numbered(-3).seriesNumberDisplay, kMissing);
    EXPECT_EQ(numbered(-3).seriesNumberSort, 0);
    EXPECT_EQ(column<LocalStudySeriesRow>({numbered(10), numbered(1), numbered(-3), numbered(2)},
                                          {LocalStudySeriesRow::numberColumn, true}),
              QStringList({kMissing, u"1"_qs, u"2"_qs, u"10"_qs}));
}

TEST(SearchTexts, FindInOneRowAloneWhateverTheCaseAndTheScript)
{
    SearchTexts texts;
    texts.add({u"Müller^ÄNNE", u"P1"});
    texts.add({u"Иванова", u"山田^太郎", u"CT"});
    texts.add({u"", u"ct head"});

    EXPECT_TRUE(texts.contains(0, needleOf(u" MÜLLER^änne p1 "_qs)));
    EXPECT_TRUE(texts.contains(1, needleOf(u"иванова 山田"_qs)));
    EXPECT_TRUE(texts.contains(1, needleOf(u"ct"_qs)));
    EXPECT_FALSE(texts.contains(0, needleOf(u"ct"_qs)));
    EXPECT_FALSE(texts.contains(0, needleOf(u"p1и"_qs))) << "texts of two rows don't touch";
    EXPECT_TRUE(texts.contains(2, QByteArray(" ct")));
}

TEST(SortedRows, FollowThePersonsLanguageAndTheValueOfNumbers)
{
    const auto sorted = [](const QStringList &names) {
        std::vector<QuorinCloudQidoStudyRow> rows;
        for (const QString &each : names) {
            rows.push_back(studyNamed(each));
        }
        return column(std::move(rows), {QuorinCloudQidoStudyRow::patientNameColumn, true});
    };
    const QStringList names{u"Zander"_qs,
                            u"Örtel"_qs,
                            u"Phantom 10"_qs,
                            u"ahrens"_qs,
                            u"Ärmel"_qs,
                            u"Ost"_qs,
                            u"Phantom 9"_qs,
                            u""_qs};

    for (const QLocale::Language language : {QLocale::German, QLocale::English, QLocale::C}) {
        const DefaultLocale locale{QLocale(language)};
        EXPECT_EQ(sorted(names),
                  QStringList({kMissing,
                               u"ahrens"_qs,
                               u"Ärmel"_qs,
                               u"Örtel"_qs,
                               u"Ost"_qs,
                               u"Phantom 9"_qs,
                               u"Phantom 10"_qs,
                               u"Zander"_qs}))
            << language;
    }
    const DefaultLocale swedish{QLocale(QLocale::Swedish)};
    EXPECT_EQ(sorted(names).last(), u"Örtel"_qs) << "a letter of its own there, behind z";
}

TEST(SortedRows, KeepTheirOrderWhereTheyAreEqual)
{
    std::vector<QuorinCloudQidoStudyRow> rows;
    for (const char *id : {"b", "a", "c"}) {
        rows.push_back(studyOf("20260101"));
        rows.back().id = QString::fromLatin1(id);
    }
    const RowsOf<QuorinCloudQidoStudyRow> all(std::move(rows));

    EXPECT_EQ(all.sorted({QuorinCloudQidoStudyRow::dateColumn, true}), RowOrder({0, 1, 2}));
    EXPECT_EQ(all.sorted({QuorinCloudQidoStudyRow::dateColumn, false}), RowOrder({0, 1, 2}));
}

} // namespace gateway::browser::testing
