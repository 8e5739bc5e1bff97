#include "shell/browser/local_studies_screen.h"
#include "shell/testing/every_look.h"

#include "core/notification_names.h"
#include "index/upload_failure.h"
#include "log/writing/redaction.h"
#include "shell/browser/series_sheet.h"
#include "shell/browser/testing/browser_screen_world.h"
#include "shell/controls/toast.h"
#include "shell/language/translations.h"

#include <QtCore/QFileInfo>
#include <QtGui/QHoverEvent>

#include <optional>

namespace gateway::shell::testing {

namespace {

using index::testing::TemporaryIndex;

struct LocalScreen : BrowserScreenWorld
{
    LocalScreen()
    {
        constexpr const char *kNames[] = {
            "Brandt^Helene", "Okafor^Chidi", "Yamada^Tarou", "Lindqvist^Sven", "Moreau^Claire"};
        for (int study = 0; study < 5; ++study) {
            for (int series = 1; series <= 2; ++series) {
                importImage(study, series, QString::fromLatin1(kNames[study]));
            }
        }
    }

    void importImage(int study, int series, const QString &patient)
    {
        const QString uid = QStringLiteral("1.%1").arg(study);
        store.import(TemporaryIndex::image(
            QStringLiteral("%1.%2.1").arg(uid).arg(series),
            {{QStringLiteral("studyID"), uid},
             {QStringLiteral("seriesID"), QStringLiteral("%1.%2").arg(uid).arg(series)},
             {QStringLiteral("seriesInstanceUID"), QStringLiteral("%1.%2").arg(uid).arg(series)},
             {QStringLiteral("seriesNumber"), series},
             {QStringLiteral("seriesDescription"), QStringLiteral("Axial %1 mm").arg(series)},
             {QStringLiteral("patientUID"), QStringLiteral("P%1").arg(study)},
             {QStringLiteral("studyNumber"), QStringLiteral("PID-%1").arg(7000 + study)},
             {QStringLiteral("studyDescription"), QStringLiteral("Head without contrast")},
             {QStringLiteral("accessionNumber"), QStringLiteral("A26-%1").arg(1000 + study)},
             {QStringLiteral("patientName"), patient},
             {QStringLiteral("studyDate"), QDate(2026, 1, 1 + study)}}));
    }

    void fail(int study)
    {
        const QString path =
            store
                .rows(
                    QStringLiteral("SELECT pathString FROM DicomImage WHERE sopInstanceUID LIKE '1.%1.1.1%'")
                        .arg(study))
                .first();
        store.index().recordUploadResult(
            {},
            path,
            false,
            {.failure = index::FailedUpload{.failureClass = QStringLiteral("storageUsedUp")}});
    }

    void sync(int study)
    {
        store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1 WHERE sopInstanceUID LIKE '1.%1.%'")
                          .arg(study));
    }

    void openLoaded()
    {
        open(controller);
        runUntil([&] { return screen().table().lastUpdatedAt() && !screen().table().isLoading(); });
    }

    /// What the menu about a study offers under these words; opened at its row.
    QAction *actionOn(const QString &study, const QString &words)
    {
        delete view().findChild<QMenu *>();
        for (int row = 0; row < view().model()->rowCount(); ++row) {
            view().selectRow(row);
            if (view().currentId() == study) {
                Q_EMIT view().customContextMenuRequested(
                    view().visualRect(view().model()->index(row, 1)).center());
            }
        }
        const QList<QAction *> actions = view().findChild<QMenu *>()->actions();
        const auto found =
            std::ranges::find_if(actions, [&](const QAction *each) { return each->text() == words; });
        return found != actions.end() ? *found : nullptr;
    }

    Toast *toast() { return window().findChild<Toast *>(); }

    bool says(const QString &words)
    {
        return toast() != nullptr && toast()->isVisible() && toast()->accessibleWords() == words;
    }

    QWidget &window() { return *controller.window(); }
    LocalStudiesScreen &screen() { return *controller.screen(); }
    BrowserTableView &view() { return screen().panel().view(); }

    LocalStudiesWindowController controller{parts(), localDoor()};
};

} // namespace

TEST_F(LocalScreen, ShowsTheStudiesOfTheIndexAtOnce)
{
    sync(4);
    fail(3);
    openLoaded();

    EXPECT_EQ(window().windowTitle(), QStringLiteral("Local Studies"));
    const QStringList titles = {u"Details"_qs,
                                u"Patient Name"_qs,
                                u"Patient ID"_qs,
                                u"Modality"_qs,
                                u"Synced State"_qs,
                                u"Description"_qs,
                                u"Accession"_qs,
                                u"Date Acquired"_qs,
                                u"Images"_qs};
    for (int column = 0; column < titles.size(); ++column) {
        EXPECT_EQ(view().model()->headerData(column, Qt::Horizontal).toString(), titles[column]);
    }
    EXPECT_EQ(cell(view(), 0, 1), QStringLiteral("Moreau^Claire"));
    EXPECT_EQ(cell(view(), 0, 4), QStringLiteral("Synced"));
    EXPECT_EQ(cell(view(), 1, 4), QStringLiteral("Failed"));
    EXPECT_EQ(cell(view(), 2, 4), QStringLiteral("Not Synced"));
    EXPECT_TRUE(shows(window(), QStringLiteral("Showing 5 of 5")));
    picture(window(), QStringLiteral("local-studies-dark"));
    theme.setVariant(Variant::light);
    picture(window(), QStringLiteral("local-studies-light"));
}

TEST_F(LocalScreen, SaysThatItLoads)
{
    controller.show(); // the answer comes in a later turn

    EXPECT_TRUE(shows(window(), QStringLiteral("Loading local studies...")));
    EXPECT_FALSE(view().isVisible());
    runUntil([&] { return view().isVisible(); });
    EXPECT_EQ(view().model()->rowCount(), 5);
}

TEST_F(LocalScreen, SaysThatTheSearchHidesAll)
{
    openLoaded();
    QTest::keyClick(&view(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("nobody"));

    EXPECT_TRUE(shows(window(), QStringLiteral("Nothing here matches your search.")));
    picture(window(), QStringLiteral("local-studies-no-match-dark"));
}

TEST_F(LocalScreen, IsOneWindowUntilItIsClosedAndLoadsAnewThen)
{
    openLoaded();
    QTest::keyClicks(window().findChild<TextField *>(), QStringLiteral("Moreau"));
    const QPointer<QWidget> first = controller.window();
    controller.show();
    EXPECT_EQ(controller.window(), first);
    EXPECT_EQ(view().model()->rowCount(), 1) << "what is shown stays";

    window().close();
    awaitGone(first);
    EXPECT_EQ(controller.window(), nullptr);
    importImage(7, 1, QStringLiteral("Late^Comer"));
    openLoaded();

    EXPECT_EQ(view().model()->rowCount(), 6) << "loaded anew, and no search left";
}

TEST_F(LocalScreen, SaysThatThereAreNone)
{
    store.index().deleteStudies({u"1.0"_qs, u"1.1"_qs, u"1.2"_qs, u"1.3"_qs, u"1.4"_qs});

    openLoaded();

    EXPECT_TRUE(shows(window(), QStringLiteral("No local studies found.")));
    picture(window(), QStringLiteral("local-studies-empty-dark"));
}

TEST_F(LocalScreen, FollowsAnUploadWithoutLosingSelectionAndPlace)
{
    openLoaded();
    view().selectRow(2);
    const QString selected = view().currentId();
    sync(4);
    sync(2);

    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] { return cell(view(), 0, 4) == QStringLiteral("Synced"); });

    EXPECT_EQ(view().currentId(), selected);
    EXPECT_TRUE(view().selectionModel()->isRowSelected(2, {}));
    importImage(9, 1, QStringLiteral("New^Study")); // undated it would stand last; it is the newest
    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] {
        clock.advance(std::chrono::milliseconds(500));
        return view().model()->rowCount() == 6;
    });
    EXPECT_EQ(view().currentId(), selected);
    EXPECT_TRUE(view().selectionModel()->isRowSelected(3, {}))
        << "it moved down by one, and is selected still";
    EXPECT_EQ(screen().table().selectedIDs(), QSet<QString>{selected});
}

TEST_F(LocalScreen, SortsByAClickOnATitle)
{
    openLoaded();

    view().sortByColumn(1, Qt::AscendingOrder);

    EXPECT_EQ(cell(view(), 0, 1), QStringLiteral("Brandt^Helene"));
    view().sortByColumn(1, Qt::DescendingOrder);
    EXPECT_EQ(cell(view(), 0, 1), QStringLiteral("Yamada^Tarou"));
}

TEST_F(LocalScreen, WarnsOfStudiesThatAreNotInTheCloudAndDeletesThem)
{
    sync(0);
    openLoaded();
    QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);

    QTest::keyClick(&view(), Qt::Key_Delete);
    ConfirmDialog &first = awaitQuestion(window(), QStringLiteral("Delete Selected Studies? (1/3)"));
    EXPECT_TRUE(shows(
        first,
        QStringLiteral("Images not in Quorin Cloud: 8, of 4 of the selected studies. They will be lost.")));
    EXPECT_TRUE(shows(first, QStringLiteral("What is in Quorin Cloud stays there.")));
    picture(window(), QStringLiteral("local-studies-delete-1-dark"));
    sayYes(window());
    runUntil([&] { return view().model()->rowCount() == 0; });

    EXPECT_EQ(store.number(QStringLiteral("SELECT count(*) FROM DicomImage")), 0);
    EXPECT_EQ(store.removals().size(), 10);
    EXPECT_EQ(refreshed, 1);
}

TEST_F(LocalScreen, MarksTheWholeRowBelowThePointer)
{
    openLoaded();
    const auto ground = [&](int row) { // beside the words of three columns
        const QImage shown = view().viewport()->grab().toImage();
        const int low = view().rowViewportPosition(row) + view().rowHeight(row) - 3;
        const qreal scale = shown.devicePixelRatio();
        QList<QRgb> colors;
        for (const int column : {1, 2, 5}) {
            const int left = view().columnViewportPosition(column) + 3;
            colors.append(shown.pixel(static_cast<int>(left * scale), static_cast<int>(low * scale)));
        }
        return colors;
    };
    const auto point = [&](QEvent::Type type, int row) {
        const QPointF place = view().visualRect(view().model()->index(row, 2)).center();
        QHoverEvent event(type, place, view().viewport()->mapToGlobal(place), place);
        QCoreApplication::sendEvent(view().viewport(), &event);
    };
    const QList<QRgb> rest = ground(1);

    point(QEvent::HoverMove, 1);
    EXPECT_EQ(view().hoveredRow(), 1);
    const QList<QRgb> marked = ground(1);
    EXPECT_NE(marked[0], rest[0]);
    EXPECT_EQ(marked, QList<QRgb>(3, marked[0]));
    EXPECT_EQ(ground(2), rest);
    picture(window(), QStringLiteral("local-studies-hovered-dark"));

    point(QEvent::HoverLeave, 1);
    EXPECT_EQ(view().hoveredRow(), -1);
    EXPECT_EQ(ground(1), rest);
}

TEST_F(LocalScreen, ShowsFailedStudiesWithTheirReasons)
{
    fail(3);
    fail(1);
    open(controller);

    controller.showFailures();
    runUntil([&] { return view().model()->rowCount() == 2; });

    EXPECT_EQ(view().currentId(), QStringLiteral("1.3"));
    EXPECT_TRUE(shows(window(), QStringLiteral("Images of this study that could not be sent: 1")));
    for (int turn = 0; turn < 5; ++turn) {
        QCoreApplication::processEvents(); // wrapped words settle
    }
    picture(window(), QStringLiteral("local-studies-failed-dark"));
    press(window(), QStringLiteral("Send Now"));
    EXPECT_EQ(sent, QStringList(QStringLiteral("1.3")));
    press(window(), QStringLiteral("Failed Only"));
    EXPECT_EQ(view().model()->rowCount(), 5);
}

TEST_F(LocalScreen, ShowsAllFailedStudiesAlsoWhereAnOldSearchWouldHideThem)
{
    fail(3);
    fail(1);
    openLoaded();
    screen().table().setSearchText(QStringLiteral("Brandt"));

    controller.showFailures();

    EXPECT_EQ(view().model()->rowCount(), 2);
    EXPECT_TRUE(screen().table().searchText().isEmpty());
}

TEST_F(LocalScreen, FollowsWhatIsReceivedWhileNobodyIsSignedIn)
{
    openLoaded();
    importImage(9, 1, QStringLiteral("New^Study"));

    controller.imagesChanged();
    runUntil([&] { return view().model()->rowCount() == 6; });

    for (int row = 0; row < 6 && view().currentId() != QStringLiteral("1.9"); ++row) {
        view().selectRow(row);
    }
    QTest::keyClick(&view(), Qt::Key_Return);
    importImage(9, 2, QStringLiteral("New^Study"));
    controller.imagesChanged();
    runUntil([&] {
        clock.advance(std::chrono::milliseconds(500));
        return screen().seriesSheet()->panel().view().model()->rowCount() == 2;
    });
}

TEST_F(LocalScreen, OpensTheSeriesAndLoadsAgainBehindThem)
{
    openLoaded();
    view().selectRow(0);

    QTest::keyClick(&view(), Qt::Key_Return);
    ASSERT_NE(screen().seriesSheet(), nullptr);
    SeriesSheet &sheet = *screen().seriesSheet();
    runUntil([&] { return sheet.panel().view().model()->rowCount() == 2; });
    EXPECT_EQ(sheet.accessibleWords(), QStringLiteral("Local Series"));
    picture(window(), QStringLiteral("local-series-dark"));
    sheet.panel().view().selectRow(0);
    press(sheet, QStringLiteral("Delete Selected"));
    sayYes(window());
    runUntil([&] { return sheet.panel().view().model()->rowCount() == 1; });
    const QPointer<SeriesSheet> closing = &sheet;
    press(sheet, QStringLiteral("Close"));
    awaitGone(closing);
    runUntil([&] { return cell(view(), 0, 8) == QStringLiteral("1"); });
}

TEST_F(LocalScreen, OffersWhatHelpsOnARightClick)
{
    openLoaded();
    const QPoint place = view().visualRect(view().model()->index(0, 1)).center();

    Q_EMIT view().customContextMenuRequested(place);
    auto *menu = view().findChild<QMenu *>();
    ASSERT_NE(menu, nullptr);
    QStringList offered;
    for (const QAction *action : menu->actions()) {
        if (!action->isSeparator()) {
            offered.append(action->text());
        }
    }

    EXPECT_EQ(offered,
              QStringList({u"Show Series"_qs,
                           u"Send Now"_qs,
                           u"Show in Folder"_qs,
                           u"Follow in the Log"_qs,
                           u"Copy Cell"_qs,
                           u"Copy Rows"_qs,
                           u"Delete Selected…"_qs}));
    menu->close();
}

TEST_F(LocalScreen, SendsOneStudyAloneAndNoneThatIsInTheCloud)
{
    sync(2);
    openLoaded();

    EXPECT_FALSE(actionOn(QStringLiteral("1.2"), QStringLiteral("Send Now"))->isEnabled());
    actionOn(QStringLiteral("1.3"), QStringLiteral("Send Now"))->trigger();

    EXPECT_EQ(sent, QStringList(QStringLiteral("1.3")));
    EXPECT_TRUE(
        says(QStringLiteral("What this study has not sent yet is tried now, as soon as it is its turn.")));
}

TEST_F(LocalScreen, ShowsTheFilesOfAStudyInTheirFolder)
{
    openLoaded();
    const QString study = QStringLiteral("1.3");
    const QString file = store.index().studyFiles(study, 1).first().toLocalFile();

    actionOn(study, QStringLiteral("Show in Folder"))->trigger();
    runUntil([&] { return !openedFolders.isEmpty(); });

    EXPECT_EQ(openedFolders, QStringList(QFileInfo(file).path()));
    isFolderShown = false;
    actionOn(study, QStringLiteral("Show in Folder"))->trigger();
    runUntil([&] { return says(QStringLiteral("The folder can't be opened: ") + QFileInfo(file).path()); });
}

TEST_F(LocalScreen, FollowsTheImagesOfAStudyInTheLog)
{
    openLoaded();
    const QString study = QStringLiteral("1.3");
    QStringList hashes;
    for (const QUrl &file : store.index().studyFiles(study, 99)) {
        hashes.append(*log::hashedFileURL(file));
    }

    actionOn(study, QStringLiteral("Follow in the Log"))->trigger();
    runUntil([&] { return !followed.isEmpty(); });

    EXPECT_EQ(followed, hashes);
    EXPECT_EQ(followed.size(), 2);
}

TEST_F(LocalScreen, TellsThatAStudyHasNoFilesToShow)
{
    openLoaded();
    const QString study = QStringLiteral("1.3");
    store.execute(QStringLiteral("UPDATE DicomImage SET pathString = ''"));

    for (const char *words : {"Show in Folder", "Follow in the Log"}) {
        actionOn(study, QString::fromLatin1(words))->trigger();
        runUntil([&] { return says(QStringLiteral("This study has no files here.")); });
        toast()->hide();
    }
    EXPECT_TRUE(openedFolders.isEmpty());
    EXPECT_TRUE(followed.isEmpty());
}

TEST_F(LocalScreen, ClipsNothingInEveryLook)
{
    fail(3);
    std::optional<LocalStudiesWindowController> other;
    enum What
    {
        table,
        series,
        deletion
    };
    const QStringList names{
        QStringLiteral("local-studies"), QStringLiteral("series"), QStringLiteral("delete")};
    for (const What what : {table, series, deletion}) {
        EXPECT_EQ(
            clippedInEveryLook(names.at(what),
                               {{1200, 700}, {960, 600}},
                               [&] {
                                   other.reset();
                                   forgetColumns(); // whose widths are a person's own, in whichever language
                                   other.emplace(parts(), localDoor());
                                   open(*other);
                                   BrowserTableView &rows = other->screen()->panel().view();
                                   runUntil([&] { return rows.model()->rowCount() > 0; });
                                   rows.selectRow(0);
                                   if (what == series) {
                                       QTest::keyClick(&rows, Qt::Key_Return);
                                   } else if (what == deletion) {
                                       QTest::keyClick(&rows, Qt::Key_Delete);
                                       runUntil([&] { return question(*other->window()) != nullptr; });
                                   }
                                   return Opened{*other->window(), theme};
                               }),
            "");
    }
}

TEST_F(LocalScreen, ClipsNothingInALongLanguageInTheSmallestWindow)
{
    PseudoLocale longer;
    qApp->installTranslator(&longer);
    fail(3);
    LocalStudiesWindowController other(parts(), localDoor());
    open(other);
    other.window()->resize(960, 600); // its least size, for which the screen of the tests has no room
    other.showFailures();
    runUntil([&] { return other.screen()->panel().view().model()->rowCount() == 1; });
    runUntil([&] { return clippedIn(*other.window()).isEmpty(); }); // wrapped words take some turns to settle

    EXPECT_EQ(clippedIn(*other.window()).join(u'|').toStdString(), "");
    EXPECT_EQ(cutTitles(other.screen()->panel().view()), QStringList());
    picture(*other.window(), QStringLiteral("local-studies-smallest-long"));
    qApp->removeTranslator(&longer);
}

TEST_F(LocalScreen, ClipsNothingInGermanInTheSmallestWindow)
{
    const Translations german{QLocale(QLocale::German)};
    ASSERT_TRUE(german.isTranslated());
    fail(3);
    LocalStudiesWindowController other(parts(), localDoor());
    open(other);
    other.window()->resize(960, 600);
    other.showFailures();
    BrowserTableView &rows = other.screen()->panel().view();
    runUntil([&] { return rows.model()->rowCount() == 1; });
    runUntil([&] { return clippedIn(*other.window()).isEmpty(); });
    EXPECT_EQ(other.window()->windowTitle(), QStringLiteral("Lokale Studien"));
    EXPECT_EQ(cutTitles(other.screen()->panel().view()), QStringList());
    picture(*other.window(), QStringLiteral("local-studies-german-dark"));

    QTest::keyClick(&rows, Qt::Key_Return);
    ASSERT_NE(other.screen()->seriesSheet(), nullptr);
    runUntil([&] { return other.screen()->seriesSheet()->panel().view().model()->rowCount() == 2; });
    EXPECT_EQ(clippedIn(*other.window()).join(u'|').toStdString(), "") << "the sheet of the series";
    EXPECT_EQ(cutTitles(other.screen()->seriesSheet()->panel().view()), QStringList());
    press(*other.screen()->seriesSheet(), QStringLiteral("Schließen"));
    awaitGone(QPointer<SeriesSheet>(other.screen()->seriesSheet()));

    QTest::keyClick(&rows, Qt::Key_Delete);
    runUntil([&] { return question(*other.window()) != nullptr; });
    runUntil([&] { return clippedIn(*other.window()).isEmpty(); });
    picture(*other.window(), QStringLiteral("local-studies-german-delete-1-dark"));
    EXPECT_EQ(clippedIn(*other.window()).join(u'|').toStdString(), "") << "the first question";
}

} // namespace gateway::shell::testing
