// How studies are deleted from the cloud through its window.
#include "shell/browser/testing/cloud_screen_world.h"

namespace gateway::shell::testing {

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

TEST_F(CloudScreen, TellsOfStudiesThatCouldNotBeDeletedBesideThem)
{
    fill(3);
    archive.stubborn = {QStringLiteral("1.2.826.0.1.3680043.10.101")};
    openSignedIn();
    query();

    QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&view(), Qt::Key_Delete);
    sayYes(window());
    runUntil([&] { return screen().table().lastError() && !screen().table().isDeleting(); });

    EXPECT_TRUE(shows(window(), u"Deleted 2 of 3 selected studies. 1 failed. Last error: It is held."_qs));
    ASSERT_EQ(view().model()->rowCount(), 1);
    EXPECT_EQ(cell(view(), 0, 1), QStringLiteral("Okafor^Chidi"));
    EXPECT_TRUE(screen().table().selectedIDs().isEmpty());
    picture(window(), QStringLiteral("cloud-studies-partly-deleted-dark"));
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

TEST_F(CloudScreen, OpenedAgainShowsTheDeletionUnderWayAndCanStopIt)
{
    beginToDeleteThree();
    const QPointer<QWidget> closed = controller.window();
    window().close();
    awaitGone(closed);

    open(controller);
    EXPECT_EQ(keeper.count(), 0U) << "the window has the table back";
    EXPECT_TRUE(shows(window(), QStringLiteral("Deleting selected studies...")));
    press(window(), QStringLiteral("Stop"));
    archive.release();
    runUntil([&] { return !screen().table().isDeleting(); });

    EXPECT_EQ(archive.studies.size(), 2);
    EXPECT_TRUE(shows(window(), QStringLiteral("Stopped. Deleted 1 of 3 selected studies.")));
}

TEST_F(CloudScreen, OpenedAgainDuringADeletionShowsNothingOfWhoeverHasSignedOut)
{
    beginToDeleteThree();
    const QPointer<QWidget> closed = controller.window();
    window().close();
    awaitGone(closed);
    finish(auth.signOut());

    open(controller);

    EXPECT_EQ(screen().table().rows()->count(), 0);
    archive.release();
    runUntil([&] { return !screen().table().isDeleting(); });
}

} // namespace gateway::shell::testing
