#include "shell/browser/cloud_studies_screen.h"

#include "browser/quorin_cloud_qido_study_row.h"
#include "shell/browser/date_button.h"
#include "shell/browser/series_sheet.h"
#include "shell/browser/testing/browser_screen_world.h"
#include "shell/controls/combo_box.h"
#include "shell/language/translations.h"

#include <QtCore/QFile>
#include <QtWidgets/QStackedWidget>

namespace gateway::shell::testing {

namespace {

using cloud_client::QrnDicomTag;

struct CloudScreen : BrowserScreenWorld
{
    ~CloudScreen() override { archive.release(); }

    void fill(int count)
    {
        constexpr const char *kNames[] = {
            "Brandt^Helene", "Okafor^Chidi", "Yamada^Tarou", "Lindqvist^Sven", "Moreau^Claire"};
        constexpr const char *kKinds[] = {"CT", "MR", "US", "DX", "CT, PT"};
        constexpr const char *kWords[] = {
            "Head without contrast", "Knee left", "Abdomen", "Chest pa", "Whole body"};
        for (int number = 0; number < count; ++number) {
            const int each = number % 5;
            archive.addStudy(
                QStringLiteral("1.2.826.0.1.3680043.10.%1").arg(100 + number),
                {{QrnDicomTag::PatientName, QString::fromLatin1(kNames[each])},
                 {QrnDicomTag::PatientID, QStringLiteral("PID-%1").arg(7000 + number)},
                 {QrnDicomTag::StudyDescription, QString::fromLatin1(kWords[each])},
                 {QrnDicomTag::ModalitiesInStudy, QString::fromLatin1(kKinds[each])},
                 {QrnDicomTag::AccessionNumber, QStringLiteral("A26-%1").arg(1000 + number)},
                 {QrnDicomTag::StudyDate,
                  QStringLiteral("202601%1").arg(1 + number % 28, 2, 10, QChar(u'0'))},
                 {QrnDicomTag::StudyTime, QStringLiteral("0830%1").arg(number % 60, 2, 10, QChar(u'0'))},
                 {QrnDicomTag::NumberOfStudyRelatedInstances, 120 + 411 * each}});
        }
    }

    void openSignedIn()
    {
        signIn();
        open(controller);
    }

    void query()
    {
        press(window(), QStringLiteral("Query"));
        runUntil([&] { return screen().table().lastUpdatedAt() && !screen().table().isLoading(); });
    }

    /// Three studies whose deletion waits at the archive's door.
    void beginToDeleteThree()
    {
        fill(3);
        openSignedIn();
        query();
        archive.hold(QStringLiteral("delete"));
        QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
        screen().table().askToDelete();
        sayYes(window());
    }

    QWidget &window() { return *controller.window(); }
    CloudStudiesScreen &screen() { return *controller.screen(); }
    BrowserTableView &view() { return screen().panel().view(); }

    TextField &field(const QString &name)
    {
        for (auto *each : window().findChildren<TextField *>()) {
            if (each->accessibleName() == name) {
                return *each;
            }
        }
        qFatal("no such field");
    }

    void clickCell(int row, int column, Qt::KeyboardModifiers modifiers = {})
    {
        const QRect place = view().visualRect(view().model()->index(row, column));
        QTest::mouseClick(view().viewport(), Qt::LeftButton, modifiers, place.center());
    }

    QuorinCloudStudiesWindowController controller{parts(), cloudDoor()};
};

} // namespace

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
    clickCell(0, 1);
    clickCell(2, 1, Qt::ControlModifier);
    EXPECT_EQ(screen().table().selectedIDs().size(), 2);
    EXPECT_TRUE(shows(window(), QStringLiteral("2 selected")));
    picture(window(), QStringLiteral("cloud-studies-dark"));
    theme.setVariant(Variant::light);
    picture(window(), QStringLiteral("cloud-studies-light"));
}

TEST_F(CloudScreen, SaysThatNothingWasFoundOrThatTheSearchHidesAll)
{
    openSignedIn();
    query();
    EXPECT_TRUE(shows(window(), QStringLiteral("No Quorin Cloud studies found for the current filters.")));

    fill(3);
    query();
    QTest::keyClick(&view(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("nobody"));
    EXPECT_TRUE(shows(window(), QStringLiteral("Nothing here matches your search.")));
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

TEST_F(CloudScreen, DeletesAfterThreeQuestionsWithTheFocusOnTheWayBack)
{
    fill(3);
    openSignedIn();
    query();
    clickCell(0, 1);
    clickCell(1, 1, Qt::ShiftModifier);

    QTest::keyClick(&view(), Qt::Key_Delete);
    const QStringList titles = {u"Delete Selected Studies? (1/3)"_qs,
                                u"Delete Selected Studies? (2/3)"_qs,
                                u"Final Confirmation (3/3)"_qs};
    for (const QString &title : titles) {
        ConfirmDialog &question = awaitQuestion(window(), title);
        EXPECT_TRUE(question.cancelButton().hasFocus()) << title.toStdString();
        EXPECT_TRUE(shows(question, QStringLiteral("Copies on this computer stay.")));
        awaitArmed(window(), clock);
        picture(window(), QStringLiteral("cloud-studies-delete-%1-dark").arg(titles.indexOf(title) + 1));
        QTest::mouseClick(&question.confirmButton(), Qt::LeftButton);
    }
    runUntil([&] { return !screen().table().isDeleting(); });

    EXPECT_EQ(archive.studies.size(), 1);
    EXPECT_EQ(view().model()->rowCount(), 1);
    EXPECT_FALSE(view().selectionModel()->hasSelection());
}

TEST_F(CloudScreen, DeletesNothingByThreeClicksOnOneSpot)
{
    fill(3);
    openSignedIn();
    query();
    QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&view(), Qt::Key_Delete);
    ConfirmDialog &first = awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (1/3)"));
    const QPoint spot = first.confirmButton().mapTo(&window(), first.confirmButton().rect().center());
    const auto clickTheSpot = [&](bool isDouble) {
        QWidget *const hit = window().childAt(spot);
        const QPoint place = hit->mapFrom(&window(), spot);
        isDouble ? QTest::mouseDClick(hit, Qt::LeftButton, {}, place)
                 : QTest::mouseClick(hit, Qt::LeftButton, {}, place);
        main.drain();
    };

    for (const bool isDouble : {false, true, false, false}) {
        clickTheSpot(isDouble);
    }

    ConfirmDialog &second = awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (2/3)"));
    EXPECT_EQ(window().childAt(spot), &second.confirmButton()) << "it stands where the first one did";
    EXPECT_FALSE(second.confirmButton().isEnabled());
    QTest::keyClick(&second.confirmButton(), Qt::Key_Space);
    main.drain();
    EXPECT_EQ(question(window()), &second);
    EXPECT_EQ(archive.studies.size(), 3);
    awaitArmed(window(), clock);
    clickTheSpot(false);
    awaitQuestion(window(), QStringLiteral("Final Confirmation (3/3)"));
}

TEST_F(CloudScreen, ClosesTheQuestionWhenASignOutTakesTheRows)
{
    fill(3);
    openSignedIn();
    query();
    clickCell(0, 1);
    QTest::keyClick(&view(), Qt::Key_Delete);
    awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (1/3)"));

    finish(auth.signOut());

    EXPECT_EQ(question(window()), nullptr);
}

TEST_F(CloudScreen, ChangesNothingWhenAQuestionIsLeft)
{
    fill(2);
    openSignedIn();
    query();
    clickCell(0, 1);
    press(window(), QStringLiteral("Delete Selected"));
    awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (1/3)"));

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    main.drain();

    EXPECT_EQ(question(window()), nullptr);
    EXPECT_EQ(screen().table().selectedIDs().size(), 1);
    EXPECT_EQ(archive.studies.size(), 2);
    EXPECT_TRUE(window().isVisible()) << "Escape closed the question alone";
}

TEST_F(CloudScreen, SaysThatTheSearchHidesSelectedRows)
{
    fill(3);
    openSignedIn();
    query();
    QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(screen().table().selectedIDs().size(), 3);
    screen().table().setSearchText(QStringLiteral("PID-7001"));
    EXPECT_TRUE(shows(window(), QStringLiteral("3 selected, 2 of them hidden by the search")));

    press(window(), QStringLiteral("Delete Selected"));
    ConfirmDialog &first = awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (1/3)"));
    EXPECT_TRUE(shows(first, QStringLiteral("You selected 3 studies. Continue to the next confirmation.")));
    EXPECT_TRUE(shows(first, QStringLiteral("Hidden by the search: 2 of the selected rows.")));
    QTest::mouseClick(&first.cancelButton(), Qt::LeftButton);

    clickCell(0, 1);
    EXPECT_EQ(screen().table().selectedIDs().size(), 1) << "a new selection takes the place of all";
}

TEST_F(CloudScreen, ShowsTheProgressOfADeletionAndStopsIt)
{
    beginToDeleteThree();
    EXPECT_TRUE(shows(window(), QStringLiteral("Deleting selected studies...")));
    picture(window(), QStringLiteral("cloud-studies-deleting-dark"));

    press(window(), QStringLiteral("Stop"));
    archive.release();
    runUntil([&] { return !screen().table().isDeleting(); });

    EXPECT_EQ(archive.studies.size(), 2);
    EXPECT_TRUE(shows(window(), QStringLiteral("Stopped. Deleted 1 of 3 selected studies.")));
}

TEST_F(CloudScreen, EndsADeletionAlsoWhenItsWindowIsClosed)
{
    beginToDeleteThree();
    const QPointer<QWidget> closed = controller.window();

    window().close();
    awaitGone(closed);
    EXPECT_EQ(controller.window(), nullptr);
    EXPECT_EQ(keeper.count(), 1U);
    archive.release();
    runUntil([&] { return keeper.count() == 0; });

    EXPECT_TRUE(archive.studies.isEmpty());
    open(controller);
    EXPECT_EQ(view().model()->rowCount(), 0) << "a new window begins empty";
    EXPECT_FALSE(screen().table().hasExecutedQuery());
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
        archive.addSeries(study, QStringLiteral("%1.%2").arg(study).arg(number), number);
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
