#include "shell/controls/button.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/toast.h"
#include "shell/log/log_details.h"
#include "shell/log/testing/log_screen_world.h"
#include "shell/testing/every_look.h"

#include <QtGui/QClipboard>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

#include <future>

namespace gateway::shell {
namespace {

using log::testing::eventAt;
using testing::failedUpload;
using testing::kAutoRefreshKey;
using testing::kFile;
using testing::kOther;
using testing::LogScreenTest;
using testing::someEvent;

constexpr QSize kSmallest(932, 636); // what the smallest dashboard leaves for it

TEST_F(LogScreenTest, ShowsTheNewestEventOnTopAndCounts)
{
    fill(0, 40);
    open();

    EXPECT_EQ(rowCount(), 40);
    EXPECT_EQ(timeAt(0), logTimeText(eventAt(39).timestamp));
    EXPECT_TRUE(shows(QStringLiteral("Showing 40 of 40 logs")));
    EXPECT_TRUE(shows(QStringLiteral("Last refresh: ") + logTimeText(clock.now())));
    picture(QStringLiteral("dark"));
    fixture->theme().setVariant(Variant::light);
    picture(QStringLiteral("light"));
}

TEST_F(LogScreenTest, FiltersByLevelAndCategoryAndResetsBoth)
{
    fill(0, 40);
    open();

    choose(box(QStringLiteral("Level")), 4);
    EXPECT_EQ(model->levelFilter(), log::LevelFilter::error);
    EXPECT_EQ(rowCount(), 6);
    EXPECT_TRUE(shows(QStringLiteral("Showing 6 of 40 logs")));
    choose(box(QStringLiteral("Category")), 1);
    EXPECT_EQ(rowCount(), 0);
    EXPECT_TRUE(shows(QStringLiteral("No log events match your filters.")));
    picture(QStringLiteral("no-match"));
    QTest::mouseClick(&button(QStringLiteral("Reset Filters")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), 40);
    EXPECT_EQ(box(QStringLiteral("Level")).currentText(), QStringLiteral("All Levels"));
    EXPECT_EQ(box(QStringLiteral("Category")).currentText(), QStringLiteral("All Categories"));
}

TEST_F(LogScreenTest, SearchesWhatIsTypedAfterControlF)
{
    fill(0, 40);
    open();
    table().setFocus();

    QTest::keyClick(&table(), Qt::Key_F, Qt::ControlModifier);
    auto &search = the<SearchField>();
    ASSERT_TRUE(search.hasFocus());
    QTest::keyClicks(&search, QStringLiteral("REDACTED_message"));

    EXPECT_EQ(rowCount(), 6);
    EXPECT_EQ(model->searchText(), QStringLiteral("REDACTED_message"));
    QTest::mouseClick(&button(QStringLiteral("Reset Filters")), Qt::LeftButton);
    EXPECT_EQ(search.text(), QString());
    EXPECT_EQ(model->searchText(), QString());
    EXPECT_EQ(rowCount(), 40);
    EXPECT_FALSE(button(QStringLiteral("Reset Filters")).isEnabled());
}

TEST_F(LogScreenTest, OpensWithTheFiltersOfTheLastTime)
{
    fill(0, 40);
    defaults.setObject(QStringLiteral("QuorinGateway.logs.searchText"), QStringLiteral("import_succeeded"));
    defaults.setObject(QStringLiteral("QuorinGateway.logs.levelFilter"), QStringLiteral("info"));
    open();

    EXPECT_EQ(the<SearchField>().text(), QStringLiteral("import_succeeded"));
    EXPECT_EQ(box(QStringLiteral("Level")).currentText(), QStringLiteral("Info"));
    EXPECT_GT(rowCount(), 0);
    EXPECT_LT(rowCount(), 40);
}

TEST_F(LogScreenTest, TellsAllOfTheEventThatIsClicked)
{
    fill(0, 32); // 31 is a failed upload
    open();

    clickRow(0);

    auto &details = the<LogDetails>();
    ASSERT_TRUE(details.isVisible());
    for (const char *label : {"Image not sent",
                              "upload_attempt_failed",
                              "failed",
                              "Correlation",
                              "File",
                              "Assoc",
                              "Attempt",
                              "Size",
                              "Error 503",
                              "526,336 bytes",
                              "0123456789abcdef"}) {
        EXPECT_TRUE(shows(QString::fromLatin1(label))) << label;
    }
    EXPECT_TRUE(shows(QStringLiteral("QuorinAPI\nredacted_message_hash=9f86d081884c7d65")));
    const QByteArray raw = details.findChild<QPlainTextEdit *>()->toPlainText().toUtf8();
    EXPECT_TRUE(raw.startsWith('{') && raw.contains("\"upload_attempt_failed\"")) << raw.constData();
    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    picture(QStringLiteral("details-dark"));
    fixture->theme().setVariant(Variant::light);
    picture(QStringLiteral("details-light"));
    QTest::keyClick(&table(), Qt::Key_Escape);
    EXPECT_FALSE(details.isVisible());
}

TEST_F(LogScreenTest, EscapeInTheDetailsClosesThem)
{
    fill(0, 32);
    open();
    clickRow(0);
    auto &details = the<LogDetails>();
    auto *line = details.findChild<QPlainTextEdit *>();
    line->setFocus();

    QTest::keyClick(line, Qt::Key_Escape);

    EXPECT_FALSE(details.isVisible());
    EXPECT_TRUE(screen->isVisible());
}

TEST_F(LogScreenTest, KeepsTheClickedRowInSightWhenItsDetailsCome)
{
    fill(0, 60);
    open();
    const int lowest = table().rowAt(table().viewport()->height() - 30);

    clickRow(lowest);
    QApplication::processEvents();

    ASSERT_TRUE(the<LogDetails>().isVisible());
    const QRect cell = table().visualRect(table().model()->index(lowest, 0));
    EXPECT_TRUE(table().viewport()->rect().contains(cell.center()));
}

TEST_F(LogScreenTest, RemembersItsColumns)
{
    fill(0, 3);
    open();
    table().horizontalHeader()->resizeSection(LogTableModel::category, 222);
    table().horizontalHeader()->moveSection(4, 1);
    fixture->window().hide();
    fixture.reset();

    open();

    EXPECT_EQ(table().columnWidth(LogTableModel::category), 222);
    EXPECT_EQ(table().horizontalHeader()->visualIndex(LogTableModel::outcome), 1);
}

TEST_F(LogScreenTest, ShowsTitlesWholeWhereNarrowerColumnsWereKept)
{
    fill(0, 3);
    open();
    table().horizontalHeader()->resizeSection(LogTableModel::category, 30);
    fixture->window().hide();
    fixture.reset();

    open();

    const QHeaderView &header = *table().horizontalHeader();
    const QString title = table().model()->headerData(LogTableModel::category, Qt::Horizontal).toString();
    EXPECT_GT(table().columnWidth(LogTableModel::category),
              header.fontMetrics().horizontalAdvance(title) + 20);
}

TEST_F(LogScreenTest, CopiesTheLinesThatAreSelected)
{
    fill(0, 10);
    open();
    QFile file(folder.filePath(kFile));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).trimmed().split(u'\n');
    QGuiApplication::clipboard()->clear();

    clickRow(1);
    QTest::keyClick(&table(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), lines[8]);
    QTest::keyClick(&table(), Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&table(), Qt::Key_C, Qt::ControlModifier);

    EXPECT_EQ(QGuiApplication::clipboard()->text(), lines[8] + u'\n' + lines[7]);
    EXPECT_EQ(the<Toast>().accessibleWords(), QStringLiteral("2 lines copied"));
    QTest::mouseClick(&button(QStringLiteral("Copy Line")), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), lines[7]); // the one that the details show
}

TEST_F(LogScreenTest, KeepsTheSelectionThroughARefresh)
{
    fill(0, 20);
    open();
    clickRow(3);
    const QString selected = timeAt(3);

    fill(20, 25);
    refresh();
    ASSERT_EQ(rowCount(), 25);
    EXPECT_EQ(table().currentIndex().row(), 8);
    folder.append(kOther, someEvent(18)); // comes between: the table begins anew
    refresh();

    ASSERT_EQ(rowCount(), 26);
    EXPECT_EQ(timeAt(table().currentIndex().row()), selected);
    EXPECT_TRUE(table().selectionModel()->isRowSelected(table().currentIndex().row(), {}));
    EXPECT_TRUE(the<LogDetails>().isVisible());
}

TEST_F(LogScreenTest, StaysAtTheTopWhileEventsCome)
{
    fill(0, 200);
    open();

    fill(200, 210);
    refresh();

    EXPECT_EQ(table().verticalScrollBar()->value(), 0);
    EXPECT_EQ(table().rowAt(1), 0);
}

TEST_F(LogScreenTest, LeavesTheRowsInSightWhereTheyAreOnceScrolled)
{
    fill(0, 200);
    open();
    table().setFocus();
    for (int page = 0; page < 3; ++page) {
        QTest::keyClick(&table(), Qt::Key_PageDown);
    }
    table().verticalScrollBar()->setValue(table().verticalScrollBar()->value() + 5);
    const QString top = timeAt(table().rowAt(1));
    ASSERT_NE(table().rowAt(1), 0);

    fill(200, 210);
    refresh();

    EXPECT_EQ(rowCount(), 210);
    EXPECT_EQ(timeAt(table().rowAt(1)), top);
}

TEST_F(LogScreenTest, AsksBeforeItDeletesWithTheFocusOnCancel)
{
    fill(0, 20);
    open();

    QTest::mouseClick(&button(QStringLiteral("Delete Logs")), Qt::LeftButton);
    auto &question = the<ConfirmDialog>();
    ASSERT_TRUE(question.isVisible());
    EXPECT_EQ(question.accessibleWords(), QStringLiteral("Delete All Logs?"));
    EXPECT_TRUE(question.cancelButton().hasFocus());
    picture(QStringLiteral("delete"));
    QTest::keyClick(&question.cancelButton(), Qt::Key_Return);

    EXPECT_FALSE(question.isVisible());
    EXPECT_EQ(folder.names(), QStringList(kFile));
    EXPECT_EQ(rowCount(), 20);
}

TEST_F(LogScreenTest, DeletesTheFilesAfterYes)
{
    fill(0, 20);
    open();
    clickRow(2);

    QTest::mouseClick(&button(QStringLiteral("Delete Logs")), Qt::LeftButton);
    QTest::mouseClick(&button(QStringLiteral("Delete")), Qt::LeftButton);
    while (model->rows()->count() > 0) {
        QApplication::processEvents();
    }

    EXPECT_EQ(folder.names(), QStringList());
    EXPECT_EQ(rowCount(), 0);
    EXPECT_FALSE(the<LogDetails>().isVisible());
    EXPECT_TRUE(shows(QStringLiteral("No log events yet")));
    EXPECT_TRUE(shows(QStringLiteral("Showing 0 of 0 logs")));
    picture(QStringLiteral("no-events"));
}

TEST_F(LogScreenTest, SaysThatLogsCouldNotBeLoadedAndKeepsTheRows)
{
    fill(0, 20);
    open();
    EXPECT_FALSE(the<InlineError>().isVisible());
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    QFile file(folder.path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    QTest::keyClick(&table(), Qt::Key_F5);
    finishReading();

    EXPECT_TRUE(shows(QStringLiteral("Could not load logs")));
    EXPECT_EQ(rowCount(), 20);
    picture(QStringLiteral("error"));
    file.remove();
    QDir().mkpath(folder.path());
    QTest::keyClick(&table(), Qt::Key_F5);
    finishReading();
    EXPECT_FALSE(the<InlineError>().isVisible());
}

TEST_F(LogScreenTest, DoesNotCallALogEmptyThatItCouldNotRead)
{
    folder.append(QStringLiteral("file"), QByteArray("no folder"));

    open(folder.filePath(QStringLiteral("file")));

    EXPECT_TRUE(shows(QStringLiteral("Could not load logs")));
    EXPECT_FALSE(shows(QStringLiteral("No log events yet")));
    picture(QStringLiteral("error-empty"));
}

TEST_F(LogScreenTest, ShowsBarsUntilTheFirstReadHasEnded)
{
    fill(0, 5);
    std::promise<void> gate;
    pool.run([opened = gate.get_future().share()] { opened.wait(); });
    open(folder.path(), Wait::no);

    EXPECT_TRUE(the<Skeleton>().isVisible());
    EXPECT_FALSE(shows(QStringLiteral("No log events yet")));
    EXPECT_FALSE(shows(QStringLiteral("Showing 0 of 0 logs")));
    picture(QStringLiteral("loading"));
    gate.set_value();
    finishReading();

    EXPECT_FALSE(the<Skeleton>().isVisible());
    EXPECT_TRUE(table().isVisible());
}

TEST_F(LogScreenTest, CopiesNothingOfASelectionThatIsTooLarge)
{
    const QByteArray line = log::encodeLogLine(someEvent(1)) + '\n';
    folder.append(kFile, line.repeated(10'001));
    open();
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));

    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&table(), Qt::Key_C, Qt::ControlModifier);

    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
    EXPECT_EQ(the<Toast>().accessibleWords(), QStringLiteral("Select at most 10,000 lines to copy them."));
    picture(QStringLiteral("too-many"));
}

TEST_F(LogScreenTest, RefreshesByItselfUnlessSwitchedOff)
{
    open();
    auto &automatic = the<Switch>();
    EXPECT_TRUE(automatic.isChecked());
    EXPECT_TRUE(model->isAutoRefreshEnabled());

    QTest::mouseClick(&automatic, Qt::LeftButton);
    EXPECT_FALSE(model->isAutoRefreshEnabled());
    EXPECT_EQ(defaults.object(kAutoRefreshKey), QVariant(false));
    screen->hide();
    screen->show();
    EXPECT_FALSE(model->isAutoRefreshEnabled());
    QTest::mouseClick(&automatic, Qt::LeftButton);

    EXPECT_TRUE(model->isAutoRefreshEnabled());
    EXPECT_EQ(defaults.object(kAutoRefreshKey), QVariant(true));
    screen->hide();
    EXPECT_FALSE(model->isAutoRefreshEnabled());
}

TEST_F(LogScreenTest, ReadsAgainAfterThreeSeconds)
{
    fill(0, 3);
    open();
    clock.waitForSleepers(1);
    fill(3, 5);

    clock.advance(std::chrono::seconds(3));
    while (model->rows()->count() < 5) {
        QApplication::processEvents();
    }

    EXPECT_EQ(rowCount(), 5);
}

TEST_F(LogScreenTest, OpensTheFolderOrSaysThatItCannot)
{
    open();

    QTest::mouseClick(&button(QStringLiteral("Open Folder")), Qt::LeftButton);
    EXPECT_EQ(opened, QStringList(folder.path()));
    EXPECT_EQ(fixture->window().findChild<Toast *>(), nullptr);
    canOpen = false;
    QTest::mouseClick(&button(QStringLiteral("Open Folder")), Qt::LeftButton);

    EXPECT_TRUE(the<Toast>().accessibleWords().contains(folder.path()));
}

TEST_F(LogScreenTest, ShowsEachColumnWholeInTheSmallestWindow)
{
    fill(0, 40);
    open();
    fixture->window().resize(kSmallest);
    QApplication::processEvents();

    EXPECT_FALSE(table().horizontalScrollBar()->isVisible());
    const QFontMetrics metrics(fixture->theme().monoFont(TypeStyle::small));
    EXPECT_GE(table().columnWidth(LogTableModel::hash),
              metrics.horizontalAdvance(QStringLiteral("0123456789abcdef")) + 24);
    EXPECT_GE(table().columnWidth(LogTableModel::action), 120);
}

TEST_F(LogScreenTest, ShowsDetailsLegiblyInTheSmallestWindow)
{
    fill(0, 32); // 31 is a failed upload
    open();
    fixture->window().resize(kSmallest);

    clickRow(0);
    QApplication::processEvents();

    auto &details = the<LogDetails>();
    const auto *fields = details.findChild<QScrollArea *>();
    ASSERT_NE(fields, nullptr);
    for (const QLabel *label : fields->widget()->findChildren<QLabel *>()) {
        EXPECT_GE(label->height(), label->sizeHint().height()) << label->text().toStdString();
    }
    EXPECT_GE(fields->viewport()->height(), 76);
    EXPECT_LT(details.findChild<QPlainTextEdit *>()->geometry().bottom(), details.height());
    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    picture(QStringLiteral("smallest"));
}

TEST_F(LogScreenTest, ClipsNothingInEveryLook)
{
    fill(0, 32);
    for (const bool hasDetails : {false, true}) {
        EXPECT_EQ(
            testing::clippedInEveryLook(hasDetails ? QStringLiteral("log-details") : QStringLiteral("log"),
                                        {{1180, 780}, kSmallest},
                                        [&] {
                                            fixture.reset();
                                            open();
                                            if (hasDetails) {
                                                clickRow(0);
                                            }
                                            return testing::Opened{fixture->window(), fixture->theme()};
                                        }),
            "");
    }
}

} // namespace
} // namespace gateway::shell
