#include "log/browsing/log_filter.h"

#include "log/browsing/log_row_reader.h"
#include "log/browsing/testing/log_folder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace gateway::log {

namespace {

using testing::eventAt;

const QString kName = QStringLiteral("gateway-transfer-20260102-080000-AB12CD34.jsonl");

/// The text that is searched, put together as the rule says it, from the row as it is shown.
QString searchTextOf(const LogRow &row)
{
    const GatewayLogEvent &event = row.event;
    QStringList pieces = {rawValue(event.action),
                          rawValue(event.category),
                          rawValue(event.level),
                          rawValue(event.outcome),
                          event.correlationId.value_or(QString()),
                          event.assocHash.value_or(QString()),
                          event.fileHash.value_or(QString()),
                          row.sourceFile};
    if (event.error) {
        pieces.append({event.error->domain, event.error->message});
    }
    const QMap<QString, QString> details = event.details.value_or(QMap<QString, QString>());
    for (auto entry = details.begin(); entry != details.end(); ++entry) {
        pieces.append(entry.key() + u'=' + entry.value());
    }
    return pieces.join(u' ').toLower();
}

class LogFilterTest : public ::testing::Test
{
protected:
    std::shared_ptr<const LogRows> rows() const
    {
        return readLogRows(folder.path(), {}, std::make_shared<const LogRows>(), {});
    }

    qsizetype found(const QString &searchText) const
    {
        return filterLogRows(rows(), {LevelFilter::all, CategoryFilter::all, searchText}).count();
    }

    /// One event with something in every field that is searched.
    GatewayLogEvent fullEvent() const
    {
        GatewayLogEvent event = eventAt(1);
        event.category = GatewayLogCategory::uploadQueue;
        event.action = GatewayLogAction::uploadRunFinished;
        event.outcome = GatewayLogOutcome::inProgress;
        event.correlationId = u"RUN-77"_qs;
        event.fileHash = u"00112233445566ff"_qs;
        event.error = GatewayLogError{u"Some Domain"_qs, 28, u"redacted_message_hash=9e"_qs};
        event.details = {{u"batch size"_qs, u"2"_qs}, {u"mode"_qs, u"Two  blanks"_qs}};
        return event;
    }

    testing::LogFolder folder;
};

} // namespace

TEST_F(LogFilterTest, HasARawValueForEveryCase)
{
    for (const auto *word : {"all", "debug", "info", "warning", "error"}) {
        EXPECT_EQ(rawValue(levelFilter(QLatin1String(word)).value()), QLatin1String(word));
    }
    for (const auto *word : {"all", "listener", "receive", "send", "uploadQueue", "quorinCloud"}) {
        EXPECT_EQ(rawValue(categoryFilter(QLatin1String(word)).value()), QLatin1String(word));
    }
    EXPECT_FALSE(levelFilter(u"Error"_qs));
    EXPECT_FALSE(categoryFilter(u"updater"_qs));
}

TEST_F(LogFilterTest, FindsTheLevelErrorInAnyCaseOfLetters)
{
    GatewayLogEvent failed = eventAt(1);
    failed.level = GatewayLogLevel::error;
    folder.append(kName, failed);
    folder.append(kName, eventAt(2));

    EXPECT_EQ(found(u"Error"_qs), 1);
    EXPECT_EQ(found(u"eRRoR"_qs), 1);
}

TEST_F(LogFilterTest, LetsEverythingThroughForABlankSearchText)
{
    folder.append(kName, eventAt(1));
    folder.append(kName, eventAt(2));

    EXPECT_EQ(found(u" \t\n"_qs), 2);
}

TEST_F(LogFilterTest, ShowsUploadRunEventsForUploadQueueButNotThePerFileEvents)
{
    GatewayLogEvent run = eventAt(1);
    run.category = GatewayLogCategory::uploadQueue;
    run.action = GatewayLogAction::uploadRunStarted;
    GatewayLogEvent file = eventAt(2);
    file.category = GatewayLogCategory::send;
    file.action = GatewayLogAction::uploadAttemptStarted;
    folder.append(kName, run);
    folder.append(kName, file);
    const auto all = rows();

    const FilteredLogRows shown = filterLogRows(all, {LevelFilter::all, CategoryFilter::uploadQueue, {}});

    ASSERT_EQ(shown.count(), 1);
    EXPECT_EQ(all->record(shown.position(0)).action, GatewayLogAction::uploadRunStarted);
}

TEST_F(LogFilterTest, ShowsUpdaterEventsUnderAllOnly)
{
    GatewayLogEvent event = eventAt(1);
    event.category = GatewayLogCategory::updater;
    folder.append(kName, event);

    EXPECT_EQ(filterLogRows(rows(), {}).count(), 1);
    for (const CategoryFilter category : {CategoryFilter::listener,
                                          CategoryFilter::receive,
                                          CategoryFilter::send,
                                          CategoryFilter::uploadQueue,
                                          CategoryFilter::quorinCloud}) {
        EXPECT_EQ(filterLogRows(rows(), {LevelFilter::all, category, {}}).count(), 0);
    }
}

TEST_F(LogFilterTest, TakesLevelCategoryAndTextTogether)
{
    for (const GatewayLogLevel level : {GatewayLogLevel::debug, GatewayLogLevel::warning}) {
        for (const GatewayLogCategory category : {GatewayLogCategory::listener, GatewayLogCategory::send}) {
            GatewayLogEvent event = eventAt(1);
            event.level = level;
            event.category = category;
            folder.append(kName, event);
        }
    }

    EXPECT_EQ(filterLogRows(rows(), {LevelFilter::warning, CategoryFilter::all, {}}).count(), 2);
    EXPECT_EQ(filterLogRows(rows(), {LevelFilter::warning, CategoryFilter::send, {}}).count(), 1);
    EXPECT_EQ(filterLogRows(rows(), {LevelFilter::warning, CategoryFilter::send, u"debug"_qs}).count(), 0);
}

TEST_F(LogFilterTest, KeepsTheOrderOfTheRows)
{
    for (const int second : {3, 1, 2}) {
        folder.append(kName, eventAt(second));
    }

    EXPECT_EQ(filterLogRows(rows(), {}).positions, (std::vector<quint32>{0, 1, 2}));
}

TEST_F(LogFilterTest, SearchesEveryFieldThatIsNamed)
{
    folder.append(kName, fullEvent());

    for (const QString &text : {u"run_fin"_qs,
                                u"UPLOADqueue"_qs,
                                u"info"_qs,
                                u"in_progress"_qs,
                                u"run-77"_qs,
                                u"5566FF"_qs,
                                u"ab12cd34.jsonl"_qs,
                                u"Some Domain"_qs,
                                u"hash=9E"_qs,
                                u"batch size=2"_qs}) {
        EXPECT_EQ(found(text), 1) << text.toStdString();
    }
}

TEST_F(LogFilterTest, SearchesNeitherTheEventIdNorTheRawLine)
{
    const GatewayLogEvent event = fullEvent();
    folder.append(kName, event);

    EXPECT_EQ(found(event.eventId), 0);
    EXPECT_EQ(found(u"correlationId"_qs), 0);
    EXPECT_EQ(found(u"2026-01-02"_qs), 0);
}

TEST_F(LogFilterTest, FindsATextThatReachesAcrossFields)
{
    folder.append(kName, fullEvent());

    EXPECT_EQ(found(u"queue info in_"_qs), 1);
    EXPECT_EQ(found(u"77  0011"_qs), 1) << "the absent association stands as an empty word";
    EXPECT_EQ(found(u"77 0011"_qs), 0);
    EXPECT_EQ(found(u"=Two  Bl"_qs), 1);
    EXPECT_EQ(found(u"info info"_qs), 0);
}

TEST_F(LogFilterTest, LowersLettersBeyondAscii)
{
    GatewayLogEvent event = eventAt(1);
    event.details = {{u"who"_qs, u"\u00c4RZTIN"_qs}};
    folder.append(kName, event);

    EXPECT_EQ(found(u"\u00e4rztin"_qs), 1);
    EXPECT_EQ(found(u"\u00c4rz"_qs), 1);
}

TEST_F(LogFilterTest, AgreesWithSearchingTheWholeTextOfEachRow)
{
    constexpr unsigned kSeed = 815;
    std::mt19937 random(kSeed);
    const QString letters = u"aB =_1"_qs;
    const auto text = [&](std::size_t longest) {
        QString made;
        for (std::size_t left = random() % (longest + 1); left > 0; --left) {
            made += letters[static_cast<qsizetype>(random() % static_cast<unsigned>(letters.size()))];
        }
        return made;
    };
    for (int line = 0; line < 300; ++line) {
        GatewayLogEvent event = eventAt(line);
        event.correlationId = text(6);
        event.fileHash = random() % 2 == 0 ? std::optional(text(4)) : std::nullopt;
        event.details = {{text(3), text(5)}, {text(2), text(2)}};
        folder.append(random() % 2 == 0 ? kName : u"b.jsonl"_qs, event);
    }
    const auto all = rows();
    LogRowReader reader(all);
    std::vector<QString> texts;
    texts.reserve(static_cast<std::size_t>(all->count()));
    for (qsizetype position = 0; position < all->count(); ++position) {
        texts.push_back(searchTextOf(*reader.row(position)));
    }
    int matches = 0;
    for (int search = 0; search < 2000; ++search) {
        const QString asked = text(5);
        std::vector<quint32> expected;
        for (std::size_t position = 0; position < texts.size(); ++position) {
            if (texts[position].contains(asked.trimmed().toLower())) {
                expected.push_back(static_cast<quint32>(position));
            }
        }
        matches += expected.empty() ? 0 : 1;
        ASSERT_EQ(filterLogRows(all, {LevelFilter::all, CategoryFilter::all, asked}).positions, expected)
            << "seed " << kSeed << ", \"" << asked.toStdString() << '"';
    }
    EXPECT_GT(matches, 500);
}

} // namespace gateway::log
