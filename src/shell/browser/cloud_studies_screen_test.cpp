#include "shell/browser/cloud_studies_screen.h"
#include "shell/testing/every_look.h"

#include "browser/quorin_cloud_qido_study_row.h"
#include "shell/browser/date_button.h"
#include "shell/browser/series_sheet.h"
#include "shell/browser/testing/cloud_screen_world.h"
#include "shell/controls/combo_box.h"
#include "shell/language/translations.h"

#include <QtCore/QFile>
#include <QtGui/QTextDocument>
#include <QtWidgets/QStackedWidget>

#include <optional>

namespace gateway::shell::testing {

TEST_F(CloudScreen, AsksForASignIn)
{
    open(controller);

    EXPECT_EQ(window().windowTitle(), QStringLiteral("Quorin Cloud Studies"));
    EXPECT_TRUE(shows(window(), QStringLiteral("Sign in to load Quorin Cloud studies.")));
    picture(window(), QStringLiteral("cloud-studies-signed-out-dark"));
    press(window(), QStringLiteral("Sign in"));
    EXPECT_EQ(signInSheets, 1);
    press(window(), QStringLiteral("Query"));
    EXPECT_TRUE(archive.calls().isEmpty());
}

TEST_F(CloudScreen, OpensEmptyAndQueriesOnReturn)
{
    fill(3);
    openSignedIn();
    EXPECT_TRUE(shows(window(), QStringLiteral("No query executed yet. Set filters and click Query.")));
    EXPECT_TRUE(shows(window(), QStringLiteral("Set filters and click Query to load Quorin Cloud studies.")));
    picture(window(), QStringLiteral("cloud-studies-empty-dark"));

    TextField &name = field(QStringLiteral("Patient Name"));
    EXPECT_EQ(name.placeholderText(), QStringLiteral("Name"));
    QTest::keyClicks(&name, QStringLiteral("Doe*"));
    QTest::keyClick(&name, Qt::Key_Return);
    runUntil([&] { return screen().table().lastUpdatedAt().has_value(); });

    EXPECT_EQ(archive.lastQuery->patientName, QStringLiteral("Doe*"));
    EXPECT_EQ(view().model()->rowCount(), 3);
    EXPECT_TRUE(view().isVisible());
}

TEST_F(CloudScreen, ShowsWhatAQueryFoundUnderItsTitles)
{
    fill(24);
    openSignedIn();
    query();

    const QStringList titles = {u"Details"_qs,
                                u"Patient Name"_qs,
                                u"Patient ID"_qs,
                                u"Description"_qs,
                                u"Modality"_qs,
                                u"Date"_qs,
                                u"Time"_qs,
                                u"Accession"_qs,
                                u"Images"_qs,
                                u"Study UID"_qs};
    for (int column = 0; column < titles.size(); ++column) {
        EXPECT_EQ(view().model()->headerData(column, Qt::Horizontal).toString(), titles[column]);
    }
    EXPECT_EQ(cell(view(), 0, 5), QStringLiteral("2026-01-24")) << "the newest first";
    const QString tip = view().model()->index(0, 1).data(Qt::ToolTipRole).toString();
    EXPECT_TRUE(Qt::mightBeRichText(tip)) << "else it shows \"&amp;\"";
    clickCell(0, 1);
    clickCell(2, 1, Qt::ControlModifier);
    EXPECT_EQ(screen().table().selectedIDs().size(), 2);
    EXPECT_TRUE(shows(window(), QStringLiteral("2 selected")));
    picture(window(), QStringLiteral("cloud-studies-dark"));
    theme.setVariant(Variant::light);
    picture(window(), QStringLiteral("cloud-studies-light"));
}

TEST_F(CloudScreen, SaysThatItLoadsWhileThereIsNothingToShow)
{
    openSignedIn();
    archive.hold(QStringLiteral("studies"));

    press(window(), QStringLiteral("Query"));

    EXPECT_TRUE(shows(window(), QStringLiteral("Loading Quorin Cloud studies…")));
    EXPECT_FALSE(view().isVisible());
    picture(window(), QStringLiteral("cloud-studies-loading-dark"));
    archive.release();
    runUntil([&] { return !screen().table().isLoading(); });
    EXPECT_FALSE(shows(window(), QStringLiteral("Loading Quorin Cloud studies…")));
}

TEST_F(CloudScreen, SaysThatNothingWasFoundOrThatTheSearchHidesAll)
{
    openSignedIn();
    query();
    EXPECT_TRUE(shows(window(), QStringLiteral("No Quorin Cloud studies found for the current filters.")));
    picture(window(), QStringLiteral("cloud-studies-none-dark"));

    fill(3);
    query();
    QTest::keyClick(&view(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("nobody"));
    EXPECT_TRUE(shows(window(), QStringLiteral("Nothing here matches your search.")));
    picture(window(), QStringLiteral("cloud-studies-no-match-dark"));
    press(window(), QStringLiteral("Clear Search"));
    EXPECT_EQ(view().model()->rowCount(), 3);
}

TEST_F(CloudScreen, TellsAFailureBesideTheRows)
{
    fill(3);
    openSignedIn();
    query();
    archive.failure = QStringLiteral("The cloud can't be reached.");

    QTest::keyClick(&window(), Qt::Key_F5);
    runUntil([&] { return screen().table().lastError().has_value(); });

    EXPECT_TRUE(shows(window(), QStringLiteral("The cloud can't be reached.")));
    EXPECT_EQ(view().model()->rowCount(), 3);
    picture(window(), QStringLiteral("cloud-studies-failing-dark"));
}

TEST_F(CloudScreen, SaysOfAFailedQueryNotThatThereIsNothing)
{
    openSignedIn();
    archive.failure = QStringLiteral("The cloud can't be reached.");
    query();

    EXPECT_FALSE(shows(window(), QStringLiteral("No Quorin Cloud studies found for the current filters.")));
    EXPECT_TRUE(shows(window(), QStringLiteral("What is there is not known.")));
    archive.failure.reset();
    fill(3);
    press(window(), QStringLiteral("Try Again"));
    runUntil([&] { return view().isVisible(); });
    EXPECT_EQ(view().model()->rowCount(), 3);
}

TEST_F(CloudScreen, KeepsItsFiltersFromTheFieldsAndClearsThem)
{
    openSignedIn();
    auto &mode = *window().findChildren<ComboBox *>().first();
    const auto days = window().findChildren<DateButton *>();
    EXPECT_FALSE(days.last()->isVisible());
    mode.setCurrentIndex(3);
    Q_EMIT mode.activated(3);
    EXPECT_TRUE(days.last()->isVisible());
    QTest::keyClicks(&field(QStringLiteral("Modality")), QStringLiteral("MR"));
    EXPECT_EQ(screen().table().filters().modalityFilter, QStringLiteral("MR"));

    press(window(), QStringLiteral("Clear Filters"));

    EXPECT_TRUE(field(QStringLiteral("Modality")).text().isEmpty());
    EXPECT_EQ(mode.currentText(), QStringLiteral("Any"));
    EXPECT_FALSE(days.last()->isVisible());
}

TEST_F(CloudScreen, IsOneWindowUntilItIsClosedAndOpensEmptyAgain)
{
    fill(3);
    openSignedIn();
    query();
    const QPointer<QWidget> first = controller.window();
    controller.show();
    EXPECT_EQ(controller.window(), first);
    EXPECT_EQ(view().model()->rowCount(), 3) << "what is shown stays";

    window().close();
    awaitGone(first);
    EXPECT_EQ(controller.window(), nullptr);
    controller.show();

    EXPECT_EQ(view().model()->rowCount(), 0);
    EXPECT_TRUE(shows(window(), QStringLiteral("No query executed yet. Set filters and click Query.")));
    EXPECT_EQ(archive.calls().size(), 1) << "nobody asked";
}

TEST_F(CloudScreen, WaitsForNoAnswerWhenItIsClosed)
{
    fill(1);
    openSignedIn();
    query();
    archive.hold(QStringLiteral("s")); // studies and series
    clickCell(0, 0);
    press(*screen().seriesSheet(), QStringLiteral("Close"));
    press(window(), QStringLiteral("Query"));
    runUntil([&] { return archive.calls().size() == 3; });
    const QPointer<QWidget> closed = controller.window();

    window().close();
    awaitGone(closed); // for ever, where it waits: the answers come below

    EXPECT_EQ(keeper.count(), 2U) << "both tables await their answers";
    archive.release();
    runUntil([&] { return keeper.count() == 0; });
}

TEST_F(CloudScreen, SelectsNeighboursInOneRangeWhenTheOrderChanges)
{
    fill(24);
    openSignedIn();
    query();
    QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);

    view().sortByColumn(1, Qt::AscendingOrder);

    EXPECT_EQ(view().selectionModel()->selection().size(), 1);
    EXPECT_EQ(view().selectionModel()->selectedRows().size(), 24);
    screen().table().setSelectedIDs(
        {QStringLiteral("1.2.826.0.1.3680043.10.100"), QStringLiteral("1.2.826.0.1.3680043.10.105")});
    view().sortByColumn(1, Qt::DescendingOrder);
    EXPECT_EQ(view().selectionModel()->selectedRows().size(), 2) << "both, and nothing between them";
}

TEST_F(CloudScreen, IsEmptiedByASignOut)
{
    fill(3);
    openSignedIn();
    query();

    finish(auth.signOut());

    EXPECT_TRUE(shows(window(), QStringLiteral("Sign in to load Quorin Cloud studies.")));
    EXPECT_EQ(view().model()->rowCount(), 0);
}

TEST_F(CloudScreen, OpensTheSeriesOfAStudyAndDeletesThere)
{
    fill(1);
    const QString study = QStringLiteral("1.2.826.0.1.3680043.10.100");
    for (int number = 1; number <= 6; ++number) {
        using cloud_client::QrnDicomTag;
        archive.series[study].append(browser::testing::object(
            {{QrnDicomTag::SeriesInstanceUID, QStringLiteral("%1.%2").arg(study).arg(number)},
             {QrnDicomTag::SeriesNumber, number},
             {QrnDicomTag::SeriesDescription, QStringLiteral("Axial %1 mm").arg(number)},
             {QrnDicomTag::Modality, QStringLiteral("CT")},
             {QrnDicomTag::SeriesDate, QStringLiteral("20260101")},
             {QrnDicomTag::NumberOfSeriesRelatedInstances, 20 * number}}));
    }
    openSignedIn();
    query();

    clickCell(0, 0);
    ASSERT_NE(screen().seriesSheet(), nullptr);
    SeriesSheet &sheet = *screen().seriesSheet();
    runUntil([&] { return sheet.panel().view().model()->rowCount() == 6; });
    EXPECT_EQ(sheet.accessibleWords(), QStringLiteral("Quorin Cloud Series"));
    EXPECT_TRUE(shows(sheet, QStringLiteral("Patient: Brandt^Helene (PID-7000)")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("UID: ") + study));
    picture(window(), QStringLiteral("cloud-series-dark"));
    sheet.panel().view().selectRow(0);
    QTest::keyClick(&sheet.panel().view(), Qt::Key_Delete);
    sayYes(window());
    runUntil([&] { return sheet.panel().view().model()->rowCount() == 5; });
    const QPointer<SeriesSheet> closing = &sheet;
    press(sheet, QStringLiteral("Close"));
    awaitGone(closing);

    EXPECT_EQ(archive.series.value(study).size(), 5);
    EXPECT_EQ(screen().table().allRows().front().numberOfImages, 120) << "the study isn't asked for again";
}

TEST_F(CloudScreen, KeepsTheKeysInTheSheetWhileItLoadsAndWhereItIsEmpty)
{
    fill(2);
    openSignedIn();
    query();
    clickCell(0, 1);
    archive.hold(QStringLiteral("series"));
    clickCell(0, 0);
    ASSERT_NE(screen().seriesSheet(), nullptr);
    SeriesSheet &sheet = *screen().seriesSheet();
    const auto pressKeys = [this] {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
        main.drain();
    };

    EXPECT_TRUE(sheet.isAncestorOf(QApplication::focusWidget()));
    pressKeys();
    EXPECT_EQ(question(window()), nullptr) << "while it loads";
    EXPECT_EQ(screen().table().selectedIDs().size(), 1);
    archive.release();
    runUntil([&] {
        return sheet.panel().currentPage().isVisible() &&
               shows(sheet, QStringLiteral("No Quorin Cloud series found."));
    });
    EXPECT_TRUE(sheet.isAncestorOf(QApplication::focusWidget()));
    pressKeys();
    EXPECT_EQ(question(window()), nullptr) << "where it is empty";
    const QPointer<SeriesSheet> closing = &sheet;
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    awaitGone(closing);
}

TEST_F(CloudScreen, NamesNoPatientOverSeriesBehindASignOut)
{
    fill(1);
    openSignedIn();
    query();
    clickCell(0, 0);
    SeriesSheet &sheet = *screen().seriesSheet();
    EXPECT_TRUE(shows(sheet, QStringLiteral("Patient: Brandt^Helene (PID-7000)")));

    finish(auth.signOut());

    EXPECT_FALSE(shows(sheet, QStringLiteral("Patient: Brandt^Helene (PID-7000)")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("Sign in to load Quorin Cloud series.")));
}

TEST_F(CloudScreen, LoadsTheSeriesAgainBehindASignInAndWhenAskedTo)
{
    fill(1);
    archive.addSeries(QStringLiteral("1.2.826.0.1.3680043.10.100"), QStringLiteral("1.9.1"), 1);
    openSignedIn();
    query();
    clickCell(0, 0);
    SeriesSheet &sheet = *screen().seriesSheet();
    const auto awaitSeries = [&](std::size_t loads) {
        runUntil([&] {
            return events.count(log::GatewayLogAction::quorinCloudSeriesFetchSucceeded) == loads &&
                   sheet.panel().view().isVisible();
        });
    };
    awaitSeries(1);

    finish(auth.signOut());
    EXPECT_FALSE(sheet.panel().view().isVisible());
    picture(window(), QStringLiteral("cloud-series-signed-out-dark"));
    press(sheet, QStringLiteral("Refresh")); // asks nobody
    signIn();
    awaitSeries(2);
    press(sheet, QStringLiteral("Refresh"));
    awaitSeries(3);

    QStringList triggers;
    for (const log::GatewayLogEvent &event :
         events.events(log::GatewayLogAction::quorinCloudSeriesFetchStarted)) {
        triggers.append(event.details->value(QStringLiteral("trigger")));
    }
    EXPECT_EQ(triggers,
              QStringList({u"sheet_open"_qs, u"auth_state_changed"_qs, u"manual_refresh_button"_qs}));
}

TEST_F(CloudScreen, GivesTheSeriesTheFocusWhenTheyCome)
{
    fill(1);
    archive.addSeries(QStringLiteral("1.2.826.0.1.3680043.10.100"), QStringLiteral("1.9.1"), 1);
    openSignedIn();
    query();

    clickCell(0, 0);
    SeriesSheet &sheet = *screen().seriesSheet();
    runUntil([&] { return sheet.panel().view().isVisible(); });

    EXPECT_TRUE(sheet.panel().view().hasFocus());
}

TEST_F(CloudScreen, CopiesRowsAsTheColumnsStand)
{
    fill(2);
    openSignedIn();
    query();
    view().horizontalHeader()->moveSection(2, 1);
    clickCell(0, 1);

    QTest::keyClick(&view(), Qt::Key_C, Qt::ControlModifier);

    EXPECT_EQ(QGuiApplication::clipboard()->text().split(u'\t').mid(0, 2),
              QStringList({u"PID-7001"_qs, u"Okafor^Chidi"_qs}));
}

TEST_F(CloudScreen, ExportsWhatItShowsAfterAWarning)
{
    fill(2);
    openSignedIn();
    query();
    exportFile = folder.filePath(QStringLiteral("out.csv"));

    press(window(), QStringLiteral("Export…"));
    runUntil([&] { return question(window()) != nullptr; });
    EXPECT_TRUE(shows(*question(window()),
                      QStringLiteral("The file holds names and other data of patients, readable by everyone "
                                     "who gets it.")));
    picture(window(), QStringLiteral("cloud-studies-export-dark"));
    QTest::mouseClick(&question(window())->confirmButton(), Qt::LeftButton);
    runUntil([&] { return QFile::exists(exportFile); });

    QFile written(exportFile);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll().count("\r\n"), 3);
    EXPECT_TRUE(suggestedName.startsWith(QStringLiteral("quorin-cloud-studies-")));
}

TEST_F(CloudScreen, RemembersItsColumns)
{
    openSignedIn();
    view().setColumnWidth(1, 333);
    view().horizontalHeader()->moveSection(4, 1);
    const QPointer<QWidget> closed = controller.window();
    window().close();
    awaitGone(closed);

    open(controller);

    EXPECT_EQ(view().columnWidth(1), 333);
    EXPECT_EQ(view().horizontalHeader()->visualIndex(4), 1);
}

TEST_F(CloudScreen, ShowsTitlesWholeWhereNarrowerColumnsWereKept)
{
    openSignedIn();
    view().setColumnWidth(1, 30);
    const QPointer<QWidget> closed = controller.window();
    window().close();
    awaitGone(closed);

    open(controller);

    const QHeaderView &header = *view().horizontalHeader();
    const QString title = view().model()->headerData(1, Qt::Horizontal).toString();
    EXPECT_GT(view().columnWidth(1), header.fontMetrics().horizontalAdvance(title) + 20);
}

TEST_F(CloudScreen, KeepsItsColumnsBeforeItsWindowIsClosed)
{
    openSignedIn();
    QHeaderView &header = *view().horizontalHeader();
    const QPoint border(header.sectionViewportPosition(1) + header.sectionSize(1) - 1, header.height() / 2);
    const auto kept = [&] { return defaults.object(QStringLiteral("QuorinGateway.cloudStudies.columns")); };
    const std::optional<QVariant> before = kept();

    QTest::mousePress(header.viewport(), Qt::LeftButton, {}, border);
    QTest::mouseMove(header.viewport(), border + QPoint(40, 0));
    QTest::mouseRelease(header.viewport(), Qt::LeftButton, {}, border + QPoint(40, 0));
    runUntil([&] { return kept() != before; });

    EXPECT_EQ(kept(), QVariant(header.saveState()));
}

TEST_F(CloudScreen, ClipsNothingInEveryLook)
{
    fill(3);
    signIn();
    std::optional<QuorinCloudStudiesWindowController> other;
    EXPECT_EQ(
        clippedInEveryLook(QStringLiteral("cloud-studies"),
                           {{1200, 700}, {960, 600}},
                           [&] {
                               other.reset();
                               forgetColumns(); // whose widths are a person's own, in whichever language
                               other.emplace(parts(), cloudDoor());
                               open(*other);
                               finish(other->screen()->table().loadStudies(QStringLiteral("filter_submit")));
                               return Opened{*other->window(), theme};
                           }),
        "");
}

TEST_F(CloudScreen, ClipsNothingInALongLanguageInTheSmallestWindow)
{
    PseudoLocale longer;
    qApp->installTranslator(&longer);
    fill(3);
    QuorinCloudStudiesWindowController other(parts(), cloudDoor());
    signIn();
    open(other);
    other.window()->resize(960, 600); // its least size, for which the screen of the tests has no room
    finish(other.screen()->table().loadStudies(QStringLiteral("filter_submit")));
    QCoreApplication::processEvents();

    EXPECT_EQ(clippedIn(*other.window()).join(u'|').toStdString(), "");
    EXPECT_EQ(cutTitles(other.screen()->panel().view()), QStringList());
    picture(*other.window(), QStringLiteral("cloud-studies-smallest-long"));
    qApp->removeTranslator(&longer);
}

TEST_F(CloudScreen, ClipsNothingInGermanInTheSmallestWindow)
{
    const Translations german{QLocale(QLocale::German)};
    ASSERT_TRUE(german.isTranslated());
    fill(3);
    QuorinCloudStudiesWindowController other(parts(), cloudDoor());
    signIn();
    open(other);
    other.window()->resize(960, 600);
    runUntil([&] { return clippedIn(*other.window()).isEmpty(); });
    finish(other.screen()->table().loadStudies(QStringLiteral("filter_submit")));
    runUntil([&] { return clippedIn(*other.window()).isEmpty(); });

    EXPECT_EQ(other.window()->windowTitle(), QStringLiteral("Quorin-Cloud-Studien"));
    EXPECT_EQ(cutTitles(other.screen()->panel().view()), QStringList());
    picture(*other.window(), QStringLiteral("cloud-studies-german-dark"));
}

} // namespace gateway::shell::testing
