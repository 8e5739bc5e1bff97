#include "shell/log/log_screen.h"

#include "log/gateway_logs_view_model.h"
#include "log/testing/log_folder.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/toast.h"
#include "shell/log/log_details.h"
#include "shell/log/log_table.h"
#include "shell/log/log_table_model.h"
#include "shell/log/testing/log_events.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtGui/QClipboard>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollBar>

#include <gtest/gtest.h>

#include <algorithm>
#include <future>

namespace gateway::shell {
namespace {

using log::testing::eventAt;
using testing::failedUpload;
using testing::someEvent;
using ::testing::Test;

const QString kFile = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");
const QString kOther = QStringLiteral("gateway-transfer-20260102-070000-BBBBBBBB.jsonl");
const QString kAutoRefreshKey = QStringLiteral("QuorinGateway.logs.autoRefreshEnabled");

class LogScreenTest : public Test
{
protected:
    enum class Wait
    {
        no,
        untilRead
    };

    void fill(int from, int to) const
    {
        for (int second = from; second < to; ++second) {
            folder.append(kFile, someEvent(second));
        }
    }

    /// Opens the screen in a window and, unless told otherwise, waits until it has read.
    void open(const QString &directory, Wait wait = Wait::untilRead)
    {
        fixture = std::make_unique<testing::ThemedWindow>();
        fixture->window().resize(1180, 780);
        fixture->window().layout()->setContentsMargins({});
        model = std::make_unique<log::GatewayLogsViewModel>(
            log::GatewayLogsParts{defaults, main, pool, clock}, directory);
        screen = new LogScreen({fixture->theme(), *model, defaults, main, pool, [this](const QString &path) {
                                    opened.append(path);
                                    return canOpen;
                                }});
        fixture->add(screen);
        ASSERT_TRUE(fixture->show());
        if (wait == Wait::untilRead) {
            finishReading();
        }
    }
    void open() { open(folder.path()); }

    void TearDown() override
    {
        fixture.reset();
        model.reset();
    }

    void finishReading()
    {
        while (model->isLoading()) {
            QApplication::processEvents();
        }
        QApplication::processEvents();
    }

    void refresh()
    {
        model->refresh();
        finishReading();
    }

    template <typename Widget>
    Widget &the() const
    {
        return *fixture->window().findChild<Widget *>();
    }

    LogTable &table() const { return the<LogTable>(); }
    int rowCount() const { return table().model()->rowCount(); }

    QAbstractButton &button(const QString &text) const
    {
        for (auto *each : fixture->window().findChildren<QAbstractButton *>()) {
            if (each->text() == text && each->isVisible()) {
                return *each;
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        std::abort();
    }

    /// Whether a label with these words is to be seen.
    bool shows(const QString &words) const
    {
        const auto labels = screen->findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == words;
        });
    }

    ComboBox &box(const QString &name) const
    {
        for (auto *each : screen->findChildren<ComboBox *>()) {
            if (each->accessibleName() == name) {
                return *each;
            }
        }
        std::abort();
    }

    /// Chooses by the keyboard.
    void choose(ComboBox &from, int downwards) const
    {
        from.setFocus();
        for (int step = 0; step < downwards; ++step) {
            QTest::keyClick(&from, Qt::Key_Down);
        }
    }

    void clickRow(int row) const
    {
        const QRect cell = table().visualRect(table().model()->index(row, LogTableModel::action));
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell.center());
    }

    QString timeAt(int row) const
    {
        return table().model()->index(row, LogTableModel::time).data().toString();
    }

    /// Keeps a picture of the window for whoever asks for them.
    void picture(const QString &name) const
    {
        const QString directory = qEnvironmentVariable("QUORIN_PICTURES");
        if (!directory.isEmpty()) {
            ASSERT_TRUE(fixture->window().grab().save(directory + u"/log-screen-"_qs + name + u".png"_qs));
        }
    }

    log::testing::LogFolder folder;
    QTemporaryDir home;
    platform::UserDefaults defaults{home.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    platform::testing::ManualClock clock;
    std::unique_ptr<log::GatewayLogsViewModel> model;
    std::unique_ptr<testing::ThemedWindow> fixture;
    LogScreen *screen = nullptr;
    QStringList opened;
    bool canOpen = true;
};

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
    for (const char *label : {"Correlation",
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

TEST_F(LogScreenTest, ShowsTheLifeOfTheImageOfARowUntilAllEventsAreWantedAgain)
{
    fill(0, 40);
    for (const log::GatewayLogEvent &event : testing::lifeOfAnImage(40)) {
        folder.append(kFile, event);
    }
    fill(60, 80);
    open();
    choose(box(QStringLiteral("Level")), 2); // info: neither the failed uploads nor the debugging
    const int all = rowCount();
    clickRow(13);
    ASSERT_EQ(timeAt(table().currentIndex().row()), logTimeText(eventAt(45).timestamp));

    QTest::mouseClick(&button(QStringLiteral("Show Life of This Image")), Qt::LeftButton);
    QApplication::processEvents();

    EXPECT_EQ(rowCount(), 10);
    EXPECT_EQ(timeAt(0), logTimeText(eventAt(49).timestamp));
    EXPECT_EQ(timeAt(9), logTimeText(eventAt(40).timestamp));
    EXPECT_EQ(timeAt(table().currentIndex().row()), logTimeText(eventAt(45).timestamp));
    EXPECT_TRUE(shows(QStringLiteral("From association to removal: 2222222222222222")));
    EXPECT_FALSE(the<SearchField>().isVisible());
    EXPECT_TRUE(table().hasFocus());
    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    picture(QStringLiteral("life-dark"));
    fixture->theme().setVariant(Variant::light);
    picture(QStringLiteral("life-light"));
    QTest::mouseClick(&button(QStringLiteral("Show All Events")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), all);
    EXPECT_TRUE(the<SearchField>().isVisible());
    EXPECT_EQ(model->levelFilter(), log::LevelFilter::info);
}

TEST_F(LogScreenTest, OffersTheLifeOfAnImageWhereTheRowHasOne)
{
    log::GatewayLogEvent ofNobody = eventAt(1);
    log::GatewayLogEvent inTheCloud = eventAt(2);
    inTheCloud.category = log::GatewayLogCategory::quorinCloud;
    inTheCloud.fileHash = QStringLiteral("0123456789abcdef");
    log::GatewayLogEvent association = eventAt(3);
    association.category = log::GatewayLogCategory::receive;
    association.action = log::GatewayLogAction::associationStarted;
    association.assocHash = QStringLiteral("aaaaaaaaaaaaaaaa");
    for (const log::GatewayLogEvent &event : {ofNobody, inTheCloud, association}) {
        folder.append(kFile, event);
    }
    open();
    const auto offers = [this] {
        const auto buttons = the<LogDetails>().findChildren<QAbstractButton *>();
        return std::ranges::any_of(buttons, [](const QAbstractButton *each) {
            return each->isVisible() && each->text().startsWith(QStringLiteral("Show Li"));
        });
    };

    clickRow(2);
    EXPECT_FALSE(offers());
    clickRow(1);
    EXPECT_FALSE(offers());
    clickRow(0);
    QTest::mouseClick(&button(QStringLiteral("Show Lives of Its Images")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), 1);
    EXPECT_EQ(model->imageHash(), QStringLiteral("aaaaaaaaaaaaaaaa"));
}

TEST_F(LogScreenTest, LeavesTheLifeOfAnImageForASearch)
{
    fill(0, 10);
    open();
    model->setImageHash(QStringLiteral("0123456789abcdef"));
    ASSERT_FALSE(the<SearchField>().isVisible());
    table().setFocus();

    QTest::keyClick(&table(), Qt::Key_F, Qt::ControlModifier);

    EXPECT_TRUE(the<SearchField>().hasFocus());
    EXPECT_EQ(rowCount(), 10);
}

TEST_F(LogScreenTest, ComesBackToAllEventsFromALifeThatWasDeleted)
{
    fill(0, 10);
    open();
    model->setImageHash(QStringLiteral("ffffffffffffffff"));
    ASSERT_EQ(rowCount(), 0);

    QTest::mouseClick(&button(QStringLiteral("Reset Filters")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), 10);
    EXPECT_TRUE(the<SearchField>().isVisible());
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
    table().horizontalHeader()->resizeSection(LogTableModel::action, 222);
    table().horizontalHeader()->moveSection(4, 1);
    fixture->window().hide();
    fixture.reset();

    open();

    EXPECT_EQ(table().columnWidth(LogTableModel::action), 222);
    EXPECT_EQ(table().horizontalHeader()->visualIndex(LogTableModel::outcome), 1);
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

TEST_F(LogScreenTest, ClipsNoWordsThatAreFortyPercentLonger)
{
    testing::PseudoLocale longer;
    QCoreApplication::installTranslator(&longer);
    fill(0, 20);
    open();
    fixture->window().resize(fixture->window().minimumSizeHint().width(), 780);
    QApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    clickRow(2);
    QApplication::processEvents();
    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    picture(QStringLiteral("longer"));
    fixture.reset();
    QCoreApplication::removeTranslator(&longer);
}

} // namespace
} // namespace gateway::shell
