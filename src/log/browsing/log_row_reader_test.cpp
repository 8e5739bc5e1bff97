#include "log/browsing/log_row_reader.h"

#include "log/browsing/testing/log_folder.h"

#include <gtest/gtest.h>

namespace gateway::log {

namespace {

using testing::eventAt;

const QString kName = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");

class LogRowReaderTest : public ::testing::Test
{
protected:
    LogRowReader reader() const
    {
        return LogRowReader(readLogRows(folder.path(), {}, std::make_shared<const LogRows>(), {}));
    }

    testing::LogFolder folder;
};

} // namespace

TEST_F(LogRowReaderTest, GivesTheEventWithItsFileAndItsLineAsRead)
{
    GatewayLogEvent event = eventAt(1);
    event.details = {{u"key"_qs, u"\u00fcber"_qs}};
    event.error = GatewayLogError{u"NSPOSIXErrorDomain"_qs, 28, u"redacted_message_hash=00"_qs};
    folder.append(kName, event);
    LogRowReader rows = reader();

    const std::optional<LogRow> row = rows.row(0);

    ASSERT_TRUE(row);
    EXPECT_EQ(row->event, event);
    EXPECT_EQ(row->sourceFile, kName);
    EXPECT_EQ(row->rawLine, QString::fromUtf8(encodeLogLine(event)));
    EXPECT_EQ(row->id, event.eventId + u'-' + kName);
}

TEST_F(LogRowReaderTest, GivesNothingForAFileThatWasRemoved)
{
    folder.append(kName, eventAt(1));
    LogRowReader rows = reader();

    QFile::remove(folder.filePath(kName));

    EXPECT_FALSE(rows.row(0));
    EXPECT_FALSE(rows.rawLine(0));
}

TEST_F(LogRowReaderTest, GivesNothingForAFileThatWasReplaced)
{
    const GatewayLogEvent event = eventAt(1);
    folder.append(kName, event);
    LogRowReader rows = reader();

    folder.append(u"new"_qs, event);
    QFile::rename(folder.filePath(kName), folder.filePath(u"old"_qs));
    QFile::rename(folder.filePath(u"new"_qs), folder.filePath(kName));

    EXPECT_FALSE(rows.row(0));
}

TEST_F(LogRowReaderTest, GivesNothingForAnotherLineInThePlaceOfTheRow)
{
    folder.append(kName, eventAt(1));
    LogRowReader rows = reader();

    folder.overwrite(kName, encodeLogLine(eventAt(2)) + '\n');

    EXPECT_FALSE(rows.row(0));
}

TEST_F(LogRowReaderTest, GivesNothingBehindTheEndOfAFileThatShrank)
{
    folder.append(kName, eventAt(1));
    folder.append(kName, eventAt(2));
    LogRowReader rows = reader();

    folder.overwrite(kName, encodeLogLine(eventAt(1)) + '\n');

    EXPECT_FALSE(rows.row(0));
}

} // namespace gateway::log
