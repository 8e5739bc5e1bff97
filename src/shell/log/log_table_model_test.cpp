#include "shell/log/log_table_model.h"

#include "log/browsing/testing/log_folder.h"

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using log::testing::eventAt;

const QString kFile = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");
const QString kOther = QStringLiteral("gateway-transfer-20260102-090000-BBBBBBBB.jsonl");

class LogTableModelTest : public ::testing::Test
{
protected:
    void read(const log::LogFilter &filter = {})
    {
        rows = log::readLogRows(folder.path(), std::nullopt, rows, {});
        model.show(log::filterLogRows(rows, filter));
    }

    QString text(int row, LogTableModel::Column column) const
    {
        return model.data(model.index(row, column), Qt::DisplayRole).toString();
    }

    log::testing::LogFolder folder;
    std::shared_ptr<const log::LogRows> rows = std::make_shared<const log::LogRows>();
    LogTableModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(LogTableModelTest, WritesARowInItsColumns)
{
    log::GatewayLogEvent event = eventAt(5);
    event.level = log::GatewayLogLevel::warning;
    event.category = log::GatewayLogCategory::uploadQueue;
    event.action = log::GatewayLogAction::uploadRunRequeued;
    event.outcome = log::GatewayLogOutcome::queued;
    event.fileHash = QStringLiteral("0123456789abcdef");
    event.assocHash = QStringLiteral("fedcba9876543210");
    folder.append(kFile, event);

    read();

    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(text(0, LogTableModel::time),
              event.timestamp.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    EXPECT_EQ(text(0, LogTableModel::level), QStringLiteral("Warning"));
    EXPECT_EQ(text(0, LogTableModel::category), QStringLiteral("Upload Queue"));
    EXPECT_EQ(text(0, LogTableModel::action), QStringLiteral("Upload queued again"));
    EXPECT_EQ(text(0, LogTableModel::outcome), QStringLiteral("Queued"));
    EXPECT_EQ(text(0, LogTableModel::hash), QStringLiteral("0123456789abcdef"));
}

TEST_F(LogTableModelTest, HasTheLogsOwnWordBesideTheOneForPeople)
{
    log::GatewayLogEvent event = eventAt(5);
    event.action = log::GatewayLogAction::versionPolicyOfflineWarningShown; // the last of the cases
    folder.append(kFile, event);

    read();

    const QModelIndex action = model.index(0, LogTableModel::action);
    EXPECT_EQ(action.data(LogTableModel::kRawRole), QStringLiteral("version_policy_offline_warning_shown"));
    EXPECT_EQ(action.data(Qt::AccessibleTextRole),
              QStringLiteral("Told that updates can't be looked for (version_policy_offline_warning_shown)"));
}

TEST_F(LogTableModelTest, NamesTheAssociationWhereThereIsNoFile)
{
    log::GatewayLogEvent event = eventAt(5);
    event.assocHash = QStringLiteral("fedcba9876543210");
    folder.append(kFile, event);
    folder.append(kFile, eventAt(4));

    read();

    EXPECT_EQ(text(0, LogTableModel::hash), QStringLiteral("fedcba9876543210"));
    EXPECT_EQ(text(1, LogTableModel::hash), QString());
}

TEST_F(LogTableModelTest, TellsOfNewRowsOnTopAsInserted)
{
    folder.append(kFile, eventAt(1));
    folder.append(kFile, eventAt(2));
    read();
    const QPersistentModelIndex second = model.index(1, 0);
    QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);

    folder.append(kFile, eventAt(3));
    folder.append(kOther, eventAt(4));
    read();

    EXPECT_EQ(model.rowCount(), 4);
    EXPECT_EQ(second.row(), 3);
    ASSERT_EQ(inserts.count(), 1);
    EXPECT_EQ(inserts[0][1].toInt(), 0);
    EXPECT_EQ(inserts[0][2].toInt(), 1);
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(text(0, LogTableModel::time), logTimeText(eventAt(4).timestamp));
}

TEST_F(LogTableModelTest, BeginsAnewWhereRowsComeBetween)
{
    folder.append(kFile, eventAt(1));
    folder.append(kFile, eventAt(9));
    read();
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);

    folder.append(kOther, eventAt(5));
    read();

    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(text(1, LogTableModel::time), logTimeText(eventAt(5).timestamp));
}

TEST_F(LogTableModelTest, FindsARowAgainByItsFileAndItsNumber)
{
    folder.append(kFile, eventAt(1));
    log::GatewayLogEvent wanted = eventAt(2);
    wanted.level = log::GatewayLogLevel::error;
    folder.append(kFile, wanted);
    folder.append(kFile, eventAt(3));
    read();
    const LogTableModel::RowKey key = model.keyOf(1);
    const LogTableModel::RowKey other = model.keyOf(0);

    folder.append(kFile, eventAt(4));
    read();
    EXPECT_EQ(model.indexOf(key), 2);
    read({log::LevelFilter::error, log::CategoryFilter::all, {}});

    EXPECT_EQ(model.indexOf(key), 0);
    EXPECT_EQ(model.indexOf(other), std::nullopt);
}

TEST_F(LogTableModelTest, DoesNotTakeAFileWrittenAnewForTheOldOne)
{
    folder.append(kFile, eventAt(1));
    read();
    const LogTableModel::RowKey key = model.keyOf(0);

    folder.overwrite(kFile, log::encodeLogLine(eventAt(7)) + '\n' + log::encodeLogLine(eventAt(8)) + '\n');
    read();

    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.indexOf(key), std::nullopt);
}

TEST_F(LogTableModelTest, KeepsItsRowsWhenTheirFileIsGone)
{
    log::GatewayLogEvent event = eventAt(1);
    event.fileHash = QStringLiteral("0123456789abcdef");
    folder.append(kFile, event);
    read();

    ASSERT_TRUE(QFile::remove(folder.filePath(kFile)));

    EXPECT_EQ(text(0, LogTableModel::level), QStringLiteral("Info"));
    EXPECT_EQ(text(0, LogTableModel::hash), QString());
    EXPECT_FALSE(model.row(0));
}

} // namespace
} // namespace gateway::shell
