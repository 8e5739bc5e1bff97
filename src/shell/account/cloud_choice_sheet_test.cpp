#include "shell/account/cloud_choice_sheet.h"

#include "account/testing/restarting_choice.h"
#include "shell/account/cloud_choice_row.h"
#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_field.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/testing/themed_window.h"

#include <QtCore/QTemporaryDir>

#include <optional>

namespace gateway::shell {
namespace {

using cloud_client::CloudKind;

struct CloudChoiceScreen : ::testing::Test
{
    void open()
    {
        fixture.window().resize(720, 600);
        fixture.add(new CloudChoiceRow(fixture.theme(), world.choice, QStringLiteral("It costs a coin.")));
        ASSERT_TRUE(fixture.show());
    }

    CloudChoiceSheet &sheet()
    {
        testing::pressShown(fixture.window(), QStringLiteral("Change…"));
        return *fixture.window().findChild<CloudChoiceSheet *>();
    }

    void choose(CloudChoiceSheet &sheet, CloudKind kind)
    {
        auto &box = *sheet.findChild<ComboBox *>();
        box.setCurrentIndex(box.findData(static_cast<int>(kind)));
        Q_EMIT box.activated(box.currentIndex());
    }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    account::testing::RestartingChoice world{defaults};
    testing::ThemedWindow fixture;
};

TEST_F(CloudChoiceScreen, LeadsToAnArchiveAndSaysWhatANewStartCosts)
{
    open();
    CloudChoiceSheet &chosen = sheet();
    auto &address = *chosen.findChild<TextField *>();
    EXPECT_EQ(address.text(), QString::fromLatin1(cloud_client::kBuiltInCloudAddress));
    EXPECT_TRUE(testing::shownWords(chosen).contains(QStringLiteral("It costs a coin.")));
    choose(chosen, CloudKind::dicomweb);
    EXPECT_EQ(address.text(), QString());
    testing::pressShown(fixture.window(), QStringLiteral("Save and Restart"));
    EXPECT_TRUE(chosen.isVisible());
    EXPECT_TRUE(chosen.findChild<InlineError *>()->isVisible());
    EXPECT_EQ(world.restarts, 0);

    QTest::keyClicks(&address, QStringLiteral("https://archive.example/dicom-web"));
    QTest::keyClick(&address, Qt::Key_Return);

    EXPECT_EQ(world.restarts, 1);
    EXPECT_FALSE(chosen.isVisible());
}

TEST_F(CloudChoiceScreen, ForgetsWhatWasEnteredAndLeft)
{
    open();
    CloudChoiceSheet &chosen = sheet();
    choose(chosen, CloudKind::dicomweb);
    testing::pressShown(fixture.window(), QStringLiteral("Cancel"));

    sheet();

    EXPECT_EQ(chosen.findChild<ComboBox *>()->currentData().toInt(), static_cast<int>(CloudKind::quorin));
    EXPECT_EQ(world.restarts, 0);
}

TEST_F(CloudChoiceScreen, ShowsAllOfItInEveryLook)
{
    ASSERT_TRUE(fixture.show());
    std::optional<CloudChoiceSheet> other;
    for (const CloudKind kind : {CloudKind::quorin, CloudKind::dicomweb}) {
        EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("cloud-choice-%1").arg(static_cast<int>(kind)),
                                              {{1040, 700}, {720, 520}},
                                              [&] {
                                                  other.reset();
                                                  other.emplace(fixture.theme(),
                                                                world.choice,
                                                                QStringLiteral("It costs a coin."),
                                                                &fixture.window());
                                                  other->open();
                                                  choose(*other, kind);
                                                  return testing::Opened{fixture.window(), fixture.theme()};
                                              }),
                  "");
    }
}

TEST_F(CloudChoiceScreen, ShowsAllOfItInAWordierLanguage)
{
    testing::PseudoLocale wordy;
    ASSERT_TRUE(QCoreApplication::installTranslator(&wordy));
    fixture.window().resize(640, 560);
    fixture.add(new CloudChoiceRow(
        fixture.theme(), world.choice, testing::lengthened(QStringLiteral("It costs a coin."))));
    ASSERT_TRUE(fixture.show());
    testing::shownOf<Button>(fixture.window(), [](const Button &) { return true; })->click();
    auto &chosen = *fixture.window().findChild<CloudChoiceSheet *>();
    choose(chosen, CloudKind::dicomweb);
    QTest::qWait(0);

    EXPECT_EQ(testing::clippedIn(fixture.window()), QStringList());
    testing::keepPicture(fixture.window(), QStringLiteral("cloud-choice-wordy"));
    QCoreApplication::removeTranslator(&wordy);
}

TEST_F(CloudChoiceScreen, OffersNoChoiceWhereTheStartNamesTheCloud)
{
    world.configuration.isGivenAtStart = true;
    open();

    EXPECT_EQ(testing::shownButton(fixture.window(), QStringLiteral("Change…")), nullptr);
    EXPECT_TRUE(testing::shownWords(fixture.window()).contains(QStringLiteral("environment names it")));
}

} // namespace
} // namespace gateway::shell
