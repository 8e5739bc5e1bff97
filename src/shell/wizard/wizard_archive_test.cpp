#include "shell/controls/combo_box.h"
#include "shell/language/translations.h"
#include "shell/wizard/testing/wizard_screen_world.h"

namespace gateway::shell {
namespace {

struct WizardAtAnArchive : testing::WizardScreenWorld
{
    WizardAtAnArchive()
    {
        archive.emplace(*this);
        cloudChoice.configuration.kind = cloud_client::CloudKind::dicomweb;
        cloudChoice.configuration.baseUrl = QUrl(u"https://archive.example/dicom-web"_qs);
    }

    ~WizardAtAnArchive() override { controller.reset(); }

    void openAccount()
    {
        open();
        for (int page = 0; page < 3; ++page) {
            goOn();
        }
    }

    /// Presses the way on, whatever it is called.
    void goOn()
    {
        PrimaryButton *onward = nullptr;
        for (auto *one : window().findChildren<PrimaryButton *>()) {
            onward = one->isVisible() ? one : onward; // the footer is behind the page
        }
        ASSERT_NE(onward, nullptr);
        onward->click();
        awaitFolder();
        settle();
    }

    ComboBox *ways()
    {
        return testing::shownOf<ComboBox>(window(), [](const ComboBox &) { return true; });
    }

    void chooseWay(int way)
    {
        ComboBox *const box = ways();
        ASSERT_NE(box, nullptr);
        box->setCurrentIndex(way);
        Q_EMIT box->activated(way);
        settle();
    }

    /// \return whether the page needs no more room beside than it has.
    bool fitsBeside()
    {
        const auto *page = testing::shownOf<QScrollArea>(window(), [](const QScrollArea &) { return true; });
        return page != nullptr && page->widget()->minimumSizeHint().width() <= page->viewport()->width();
    }
};

TEST_F(WizardAtAnArchive, ShowsEveryWayWholeInEitherLanguageAndTheSmallestWindow)
{
    for (const bool isGerman : {false, true}) {
        std::optional<Translations> german;
        if (isGerman) {
            german.emplace(QLocale(QLocale::German));
        }
        controller.reset();
        openAccount();
        for (const QSize &size : {QSize(1040, 700), QSize(720, 520)}) {
            window().setFixedSize(size);
            for (int way = 0; way < 7; ++way) {
                chooseWay(way);
                EXPECT_EQ(testing::clippedIn(window()), QStringList()) << way << isGerman << size.width();
                EXPECT_TRUE(fitsBeside()) << way << isGerman << size.width();
            }
            chooseWay(3);
            picture(QStringLiteral("archive-%1-%2").arg(size.width()).arg(isGerman));
        }
    }
}

TEST_F(WizardAtAnArchive, OffersToSkipBesideTheSignIn)
{
    openAccount();
    const Button *const skip = button(u"Skip for now"_qs);
    const Button *const signIn = button(u"Sign In"_qs);
    ASSERT_TRUE(skip != nullptr && signIn != nullptr);

    EXPECT_EQ(skip->mapTo(&window(), skip->rect().center()).y(),
              signIn->mapTo(&window(), signIn->rect().center()).y());
    EXPECT_EQ(button(u"Sign in now"_qs), nullptr);
    window().setFixedSize(1040, 700);
    type(u"User name"_qs, u"gateway"_qs);
    type(u"Password"_qs, u"a secret"_qs);
    settle();
    picture(u"account-archive-dark"_qs);
}

TEST_F(WizardAtAnArchive, TellsThatATokenThatWasEnteredWasNotUsed)
{
    openAccount();
    chooseWay(1);
    type(u"Token"_qs, u"abc"_qs);

    press(u"Continue"_qs);
    EXPECT_TRUE(says(u"The sign-in that you entered wasn't used."_qs));

    press(u"Back"_qs);
    chooseWay(0);
    press(u"Continue"_qs);
    EXPECT_FALSE(says(u"The sign-in that you entered wasn't used."_qs)) << "its field isn't shown any more";
}

TEST_F(WizardAtAnArchive, SaysNothingOfATokenThatSignedIn)
{
    openAccount();
    chooseWay(1);
    type(u"Token"_qs, u"abc"_qs);
    press(u"Sign In"_qs);
    runUntil([this] { return auth.state().isSignedIn() && !auth.isChecking(); });
    settle();

    press(u"Continue"_qs);

    EXPECT_EQ(heading(), u"Summary"_qs);
    EXPECT_FALSE(says(u"The sign-in that you entered wasn't used."_qs));
}

} // namespace
} // namespace gateway::shell
