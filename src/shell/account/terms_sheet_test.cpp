#include "shell/account/terms_sheet.h"

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/testing/account_world.h"
#include "account/testing/fake_terms_service.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTextEdit>

#include <memory>

namespace gateway::shell {
namespace {

const QString kAccept = QStringLiteral("accept");
const QString kDecline = QStringLiteral("decline");
const QString kHint = QStringLiteral("Please scroll to the end of the Terms and Conditions to continue.");

/// Terms of many pages.
QString longTerms()
{
    QString text;
    for (int clause = 1; clause <= 120; ++clause) {
        text += QStringLiteral("%1. The gateway sends what it received, and nothing else.\n").arg(clause);
    }
    return text;
}

struct TermsSheetTest : account::testing::AccountWorld
{
    ~TermsSheetTest() override { api.release(); }

    void open(const QString &text)
    {
        api.text = text;
        finish(model.refreshStatus());
        fixture.window().resize(900, 760);
        ASSERT_TRUE(fixture.show());
        sheet.open();
        QCoreApplication::processEvents();
        ASSERT_TRUE(sheet.isVisible());
    }

    void scrollToEnd() { scroll().setValue(scroll().maximum()); }

    /// Runs the main thread until `count` answers came back.
    void settle(const QString &call, int count = 1)
    {
        runUntil([&] { return api.calls().count(call) >= count && !model.isLoading(); });
        QCoreApplication::processEvents();
    }

    Button &button(const QString &title)
    {
        const QList<Button *> all = sheet.findChildren<Button *>();
        for (Button *one : all) {
            if (one->text() == title) {
                return *one;
            }
        }
        throw std::runtime_error("no such button");
    }

    Button &accept() { return button(QStringLiteral("Accept")); }
    Button &decline() { return button(QStringLiteral("Decline")); }
    QTextEdit &text() { return *sheet.findChild<QTextEdit *>(); }
    QScrollBar &scroll() { return *text().verticalScrollBar(); }
    InlineError &error() { return *sheet.findChild<InlineError *>(); }

    /// Kept where the environment names a folder.
    void picture(const QString &name)
    {
        for (const bool isDark : {false, true}) {
            fixture.theme().setVariant(isDark ? Variant::dark : Variant::light);
            testing::keepPicture(fixture.window(),
                                 QStringLiteral("terms-%1-%2").arg(name, isDark ? u"dark"_qs : u"light"_qs));
        }
    }

    bool shows(const QString &words) const
    {
        const QList<QLabel *> labels = sheet.findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == words;
        });
    }

    account::testing::FakeTermsService api;
    account::GatewayQuorinCloudTermsCoordinator model{{api, defaults, main, pool, clock},
                                                      account::TermsSigner::from(QStringLiteral("desk"),
                                                                                 QStringLiteral("Linux 12"),
                                                                                 QStringLiteral("3.1.0"))};
    testing::ThemedWindow fixture;
    TermsSheet sheet{fixture.theme(), model, &fixture.window()};
    QSignalSpy acceptances{&sheet, &TermsSheet::accepted};
    QSignalSpy refusals{&sheet, &TermsSheet::declined};
    QSignalSpy dismissals{&sheet, &Sheet::dismissed};
};

} // namespace

TEST_F(TermsSheetTest, WaitsForTheEndOfALongText)
{
    open(longTerms());

    EXPECT_FALSE(accept().isEnabled());
    EXPECT_TRUE(decline().isEnabled());
    EXPECT_TRUE(shows(kHint));
    EXPECT_TRUE(text().hasFocus());
    picture(QStringLiteral("unread"));
    scroll().setValue(scroll().maximum() / 2);
    EXPECT_FALSE(accept().isEnabled());
    scrollToEnd();

    EXPECT_TRUE(accept().isEnabled());
    EXPECT_FALSE(shows(kHint));
    picture(QStringLiteral("read"));
}

TEST_F(TermsSheetTest, CountsTheEndAsSeenEightPointsBelow)
{
    open(longTerms());
    const double height = text().document()->size().height();
    const int seen = static_cast<int>(std::ceil(height)) - text().viewport()->height() - 8;

    scroll().setValue(seen - 1);
    EXPECT_FALSE(accept().isEnabled());
    scroll().setValue(seen);

    EXPECT_TRUE(accept().isEnabled());
}

TEST_F(TermsSheetTest, AcceptsATextShorterThanTheViewWithoutScrolling)
{
    open(QStringLiteral("Be kind."));

    EXPECT_TRUE(accept().isEnabled());
    EXPECT_FALSE(shows(kHint));
}

TEST_F(TermsSheetTest, IsReadByTheKeyboardAlone)
{
    open(longTerms());

    for (int page = 0; page < 200 && !accept().isEnabled(); ++page) {
        QTest::keyClick(&text(), Qt::Key_PageDown);
    }
    ASSERT_TRUE(accept().isEnabled());
    QTest::keyClick(&text(), Qt::Key_Tab);
    EXPECT_TRUE(decline().hasFocus());
    QTest::keyClick(&decline(), Qt::Key_Tab);
    EXPECT_TRUE(accept().hasFocus());
    runUntil([&] { return !sheet.isTypedIn(); });
    QTest::keyClick(&accept(), Qt::Key_Return);
    settle(kAccept);

    EXPECT_EQ(acceptances.count(), 1);
}

TEST_F(TermsSheetTest, TakesNoWordsOfTheNextFieldForAnAnswer)
{
    open(QStringLiteral("Be kind."));
    ASSERT_TRUE(accept().isEnabled());

    for (const int tabs : {1, 2}) {
        for (int tab = 0; tab < tabs; ++tab) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Saint Mary"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        EXPECT_TRUE(text().hasFocus());
    }
    QCoreApplication::processEvents();

    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(api.calls().count(kAccept) + api.calls().count(kDecline), 0);
}

TEST_F(TermsSheetTest, TakesAWordThatComesAfterARestForNoAnswer)
{
    open(QStringLiteral("Be kind."));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_TRUE(decline().hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_S);
    runUntil([&] { return !sheet.isTypedIn(); }); // in the middle of a word

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);

    EXPECT_FALSE(model.isLoading());
}

TEST_F(TermsSheetTest, TakesTheKeysThatEndAFormForNoAnswer)
{
    open(QStringLiteral("Be kind."));

    for (const Qt::Key last : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Enter}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QTest::keyClick(QApplication::focusWidget(), last);
    }
    QCoreApplication::processEvents();

    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(api.calls().count(kAccept) + api.calls().count(kDecline), 0);
}

TEST_F(TermsSheetTest, TakesNoKeysForAnAnswerThatWereTypedForSomethingElse)
{
    open(QStringLiteral("Be kind."));
    ASSERT_TRUE(accept().isEnabled());

    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("name a y"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Enter);
    QCoreApplication::processEvents();

    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(api.calls().count(kAccept) + api.calls().count(kDecline), 0);
}

TEST_F(TermsSheetTest, TakesNoReturnBeforeTheEndWasSeen)
{
    open(longTerms());

    QTest::keyClick(&text(), Qt::Key_Return);
    QTest::mouseClick(&accept(), Qt::LeftButton);
    QCoreApplication::processEvents();

    EXPECT_FALSE(api.calls().contains(kAccept));
}

TEST_F(TermsSheetTest, IsNotLeftWithoutAnAnswer)
{
    open(longTerms());

    QTest::keyClick(&text(), Qt::Key_Escape);
    QTest::mouseClick(&sheet, Qt::LeftButton, {}, QPoint(3, 3));

    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 0);
}

TEST_F(TermsSheetTest, KeepsItsSizeAndItsText)
{
    open(QStringLiteral("<b>Be</b> kind."));

    EXPECT_EQ(text().toPlainText(), QStringLiteral("<b>Be</b> kind."));
    EXPECT_TRUE(text().isReadOnly());
    EXPECT_GE(text().parentWidget()->width(), 640);
    EXPECT_GE(text().parentWidget()->height(), 520);
}

TEST_F(TermsSheetTest, TellsTheReason)
{
    api.reason = QStringLiteral(" T&Cs updated ");

    open(QStringLiteral("Be kind."));

    EXPECT_TRUE(shows(QStringLiteral(
        "The Terms & Conditions were updated. Please accept the updated version to continue.")));
}

TEST_F(TermsSheetTest, GoesOnceTheAcceptanceIsTaken)
{
    open(longTerms());
    scrollToEnd();
    api.hold(kAccept);
    const int width = accept().width();

    QTest::mouseClick(&accept(), Qt::LeftButton);
    runUntil([&] { return api.calls().contains(kAccept); });
    EXPECT_TRUE(accept().isBusy());
    EXPECT_EQ(accept().width(), width);
    EXPECT_FALSE(decline().isEnabled());
    picture(QStringLiteral("busy"));
    QTest::mouseClick(&accept(), Qt::LeftButton);
    api.release();
    settle(kAccept);

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(acceptances.count(), 1);
    EXPECT_EQ(refusals.count(), 0);
    EXPECT_EQ(api.calls().count(kAccept), 1);
}

TEST_F(TermsSheetTest, GoesOnceTheRefusalIsTaken)
{
    open(longTerms());
    api.hold(kDecline);

    QTest::mouseClick(&decline(), Qt::LeftButton);
    runUntil([&] { return api.calls().contains(kDecline); });
    EXPECT_TRUE(decline().isBusy());
    EXPECT_FALSE(accept().isEnabled());
    api.release();
    settle(kDecline);

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(refusals.count(), 1);
    EXPECT_EQ(acceptances.count(), 0);
}

TEST_F(TermsSheetTest, StaysWithTheMessageWhenAnAnswerFails)
{
    open(QStringLiteral("Be kind."));
    api.failing = {kAccept, kDecline};
    api.failure = testing::lengthened(QStringLiteral("Out of order. ")).repeated(4);

    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept);
    EXPECT_TRUE(shows(*api.failure));
    EXPECT_TRUE(accept().isEnabled());
    EXPECT_EQ(testing::clippedIn(sheet), QStringList());
    picture(QStringLiteral("refused"));
    QTest::mouseClick(&decline(), Qt::LeftButton);
    settle(kDecline);

    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(acceptances.count() + refusals.count(), 0);
    api.failing.clear();
    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept, 2);
    EXPECT_EQ(acceptances.count(), 1);
}

TEST_F(TermsSheetTest, HasRoomForAFailureInTheSmallestWindow)
{
    api.reason = QStringLiteral("T&Cs updated");
    open(longTerms());
    fixture.window().resize(760, 600);
    scrollToEnd();
    api.failing = {kAccept};
    api.failure = QStringLiteral("These terms are not the current ones. Please reload.");

    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept);

    ASSERT_TRUE(error().isVisible());
    EXPECT_FALSE(text().geometry().intersects(error().geometry()));
    EXPECT_FALSE(error().geometry().intersects(accept().geometry()));
    EXPECT_EQ(testing::clippedIn(sheet), QStringList());
}

TEST_F(TermsSheetTest, ShowsTermsThatChangedMeanwhileOnceTheyAreLoaded)
{
    open(QStringLiteral("Be kind."));
    api.failing = {kAccept};
    api.failure = QStringLiteral("The terms have changed. Reload them.");
    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept);
    api.failing.clear();
    api.text = QStringLiteral("Be kinder.");
    api.requiredVersion = QStringLiteral("4");

    QTest::mouseClick(&button(QStringLiteral("Reload")), Qt::LeftButton);
    settle(QStringLiteral("terms"), 2);
    EXPECT_EQ(text().toPlainText(), QStringLiteral("Be kinder."));
    EXPECT_FALSE(error().isVisible());
    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept, 2);

    EXPECT_EQ(api.lastAccept->version, QStringLiteral("4"));
}

TEST_F(TermsSheetTest, OffersToReloadTermsWithoutAVersion)
{
    api.requiredVersion.clear();
    api.textVersion = QStringLiteral("  ");
    open(QStringLiteral("Be kind."));

    QTest::mouseClick(&accept(), Qt::LeftButton);
    QCoreApplication::processEvents();
    ASSERT_TRUE(shows(
        QStringLiteral("Could not determine the Terms & Conditions version. Please reload and try again.")));
    EXPECT_FALSE(api.calls().contains(kAccept));
    api.requiredVersion = QStringLiteral("3");
    QTest::mouseClick(&button(QStringLiteral("Reload")), Qt::LeftButton);
    settle(QStringLiteral("terms"), 2);
    EXPECT_FALSE(error().isVisible());
    QTest::mouseClick(&accept(), Qt::LeftButton);
    settle(kAccept);

    EXPECT_EQ(api.lastAccept->version, QStringLiteral("3"));
}

TEST_F(TermsSheetTest, KeepsTheEndAsSeenWhenAnotherTextComes)
{
    open(QStringLiteral("Be kind."));
    ASSERT_TRUE(sheet.hasScrolledToBottom());

    api.text = longTerms();
    finish(model.refreshStatus());
    QCoreApplication::processEvents();

    EXPECT_EQ(text().toPlainText(), longTerms());
    EXPECT_TRUE(accept().isEnabled());
}

TEST_F(TermsSheetTest, TakesTheEndOfAPartForNoEnd)
{
    api.text = longTerms().repeated(20);
    finish(model.refreshStatus());
    ASSERT_TRUE(fixture.show());
    sheet.open();
    ASSERT_LT(text().toPlainText().size(), api.text.size()); // laid out bit by bit

    scrollToEnd();
    EXPECT_FALSE(accept().isEnabled());
    runUntil([&] { return text().toPlainText().size() == api.text.size(); });
    QCoreApplication::processEvents();
    EXPECT_EQ(text().toPlainText(), api.text);
    EXPECT_FALSE(accept().isEnabled());
    scrollToEnd();

    EXPECT_TRUE(accept().isEnabled());
}

TEST_F(TermsSheetTest, BeginsAnewEachTimeItComesUp)
{
    open(longTerms());
    scrollToEnd();
    ASSERT_TRUE(accept().isEnabled());

    model.reset();
    ASSERT_FALSE(sheet.isVisible());
    open(longTerms());

    EXPECT_FALSE(accept().isEnabled());
    EXPECT_EQ(scroll().value(), 0);
}

TEST_F(TermsSheetTest, GoesWhenNothingIsAskedAnyMore)
{
    open(longTerms());

    api.isAccepted = true;
    finish(model.refreshStatus());

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(acceptances.count() + refusals.count() + dismissals.count(), 0);
}

TEST_F(TermsSheetTest, NamesItsPartsForAssistiveTools)
{
    open(longTerms());

    const auto nameOf = [](QWidget *widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
    };
    EXPECT_EQ(nameOf(&sheet), QStringLiteral("Quorin Cloud Terms & Conditions"));
    EXPECT_EQ(nameOf(&text()), QStringLiteral("Terms and Conditions"));
    EXPECT_EQ(nameOf(&accept()), QStringLiteral("Accept"));
    EXPECT_EQ(nameOf(&decline()), QStringLiteral("Decline"));
}

TEST_F(TermsSheetTest, HasRoomInEveryLook)
{
    api.text = longTerms();
    finish(model.refreshStatus());
    ASSERT_TRUE(fixture.show());
    EXPECT_EQ(testing::clippedInEveryLook(
                  QStringLiteral("terms"),
                  {{860, 640}, {720, 520}},
                  fixture,
                  [this] { return std::make_unique<TermsSheet>(fixture.theme(), model, &fixture.window()); }),
              "");
}

} // namespace gateway::shell
