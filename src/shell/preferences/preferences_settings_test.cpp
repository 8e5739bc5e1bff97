#include "shell/controls/combo_box.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/segmented_control.h"
#include "shell/language/translations.h"
#include "shell/preferences/category_list.h"
#include "shell/preferences/testing/preferences_world.h"
#include "shell/testing/every_look.h"
#include "shell/windows/screen_room.h"

#include "core/device_id.h"
#include "core/notification_names.h"

#include <QtCore/QDir>

namespace gateway::shell {
namespace {

using Item = GatewaySettingsItem;

struct Preferences : testing::PreferencesWorld
{
    ComboBox &choice(const QString &name)
    {
        for (ComboBox *one : window().findChildren<ComboBox *>()) {
            if (one->accessibleName() == name) {
                return *one;
            }
        }
        throw std::runtime_error("no such choice");
    }

    QStringList choices(const QString &name)
    {
        QStringList all;
        for (int index = 0; index < choice(name).count(); ++index) {
            all.append(choice(name).itemText(index));
        }
        return all;
    }

    void choose(const QString &name, const QString &text)
    {
        ComboBox &from = choice(name);
        from.setCurrentIndex(from.findText(text));
        Q_EMIT from.activated(from.currentIndex());
        settle();
    }
};

TEST_F(Preferences, BeginWithTheAccountAndListTheirCategories)
{
    open();
    const auto *list = window().findChild<CategoryList *>();

    EXPECT_EQ(window().windowTitle(), u"Preferences"_qs);
    EXPECT_EQ(window().size(), QSize(860, 640).boundedTo(roomForContent().size()));
    EXPECT_EQ(view().selection(), Item::account);
    QStringList titles;
    for (int row = 0; row < list->count(); ++row) {
        titles.append(list->item(row)->text());
    }
    EXPECT_EQ(titles, (QStringList{u"Account"_qs, u"Listener Settings"_qs, u"Quorin Cloud Settings"_qs}));
}

TEST_F(Preferences, AskForACategoryWhereNoneIsSelected)
{
    open();

    view().setSelection(std::nullopt);
    settle();

    EXPECT_TRUE(says(u"Select a settings category."_qs));
    EXPECT_EQ(button(u"Setup Wizard…"_qs), nullptr);
}

TEST_F(Preferences, AreWalkedThroughByTheArrowKeys)
{
    open();
    auto *list = window().findChild<CategoryList *>();
    list->setFocus();

    QTest::keyClick(list, Qt::Key_Down);
    settle();
    EXPECT_EQ(view().selection(), Item::listener);
    EXPECT_TRUE(says(u"Configure how Quorin Gateway receives local DICOM studies."_qs));
    QTest::keyClick(list, Qt::Key_Down);
    settle();

    EXPECT_TRUE(says(u"Tune Quorin Cloud transfer behavior for your network and workload."_qs));
}

TEST_F(Preferences, LeadToTheWizardFromEachPane)
{
    int expected = 0;
    for (const Item item : kAllGatewaySettingsItems) {
        open(item);
        press(u"Setup Wizard…"_qs);
        EXPECT_EQ(wizards, ++expected);
    }
}

TEST_F(Preferences, ChangeTheFaceOfAllScreens)
{
    open();
    auto *faces = window().findChild<SegmentedControl *>();
    const QList<QAbstractButton *> segments = faces->findChildren<QAbstractButton *>();
    ASSERT_EQ(segments.size(), 3);

    segments.at(1)->click();
    EXPECT_EQ(theme.variant(), Variant::light);
    EXPECT_EQ(defaults.object(core::kAppearanceKey), QVariant(u"light"_qs));
    segments.at(0)->click();
    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST_F(Preferences, TakeOverTheFaceThatWasChosenElsewhereInAllTheirWords)
{
    defaults.setObject(core::kAppearanceKey, u"light"_qs);

    open();

    ASSERT_EQ(theme.variant(), Variant::light);
    for (const QLabel *label : window().findChildren<QLabel *>()) {
        if (label->font() == theme.font(TypeStyle::h1) || label->font() == theme.font(TypeStyle::h3)) {
            EXPECT_EQ(label->palette().color(QPalette::Active, QPalette::WindowText),
                      theme.color(Color::text))
                << label->text().toStdString();
        }
    }
}

TEST_F(Preferences, KeepTheirWindowAndWhatIsTypedInIt)
{
    open(Item::listener);
    type(u"Port"_qs, u"104"_qs);
    const QWidget *first = &window();
    window().close();

    controller->show();
    settle();

    EXPECT_EQ(&window(), first);
    EXPECT_EQ(view().selection(), Item::listener);
    EXPECT_EQ(field(u"Port"_qs)->text(), u"104"_qs);
}

TEST_F(Preferences, ShowAndSaveTheListenersSettings)
{
    open(Item::listener);
    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"GATE"_qs);
    EXPECT_EQ(field(u"Timeout (seconds)"_qs)->text(), u"30"_qs);
    EXPECT_TRUE(says(u"/home/Documents/Import"_qs));
    EXPECT_FALSE(button(u"Save Changes"_qs)->isEnabled());
    picture(u"listener-dark"_qs);

    type(u"AE Title"_qs, u"QUORIN"_qs);
    type(u"Port"_qs, u"104"_qs);
    type(u"Timeout (seconds)"_qs, u"600"_qs);
    toggle(u"Advertise With Bonjour"_qs).click();
    press(u"Save Changes"_qs);

    EXPECT_EQ(record().aeTitle, u"QUORIN"_qs);
    EXPECT_EQ(record().port, 104);
    EXPECT_EQ(record().timeout, std::chrono::seconds(600));
    EXPECT_EQ(record().advertiseWithBonjour, false);
    EXPECT_EQ(listener.calls, QStringList{u"start"_qs});
    EXPECT_FALSE(button(u"Save Changes"_qs)->isEnabled());
}

TEST_F(Preferences, SayWhatIsWrongAndSaveNothing)
{
    open(Item::listener);
    type(u"Port"_qs, u"x"_qs);
    type(u"Timeout (seconds)"_qs, u"601"_qs);
    QTest::keyClick(field(u"Port"_qs), Qt::Key_Return);
    settle();
    EXPECT_TRUE(says(u"Port must be a number between 1 and 65535."_qs));
    EXPECT_FALSE(says(u"Timeout must be"_qs));

    type(u"Port"_qs, u"104"_qs);
    press(u"Save Changes"_qs);
    EXPECT_TRUE(says(u"Timeout must be a number between 1 and 600."_qs));
    picture(u"listener-refused-dark"_qs);
    EXPECT_EQ(testing::clippedIn(window()), QStringList());
    EXPECT_EQ(record().port, 11112);

    press(u"Reload"_qs);
    EXPECT_FALSE(says(u"Timeout must be"_qs));
    EXPECT_EQ(field(u"Port"_qs)->text(), u"11112"_qs);
}

TEST_F(Preferences, TellHowATitleWillBeFormatted)
{
    open(Item::listener);

    type(u"AE Title"_qs, u"A\\TITLE THAT IS FAR TOO LONG TO BE ONE"_qs);

    EXPECT_TRUE(says(u"Will be formatted as: ATITLE THAT IS F"_qs));
}

TEST_F(Preferences, ChooseTheFolderAndTheDefaultOneAgain)
{
    open(Item::listener);
    EXPECT_FALSE(button(u"Reset to Default"_qs)->isEnabled());
    chosenFolder = folder.filePath(u"scans"_qs);
    QDir().mkpath(chosenFolder);

    press(u"Choose"_qs);
    EXPECT_TRUE(says(chosenFolder));
    press(u"Save Changes"_qs);
    runUntil([this] {
        return appSettings.listenerDestinationFolder.get() == chosenFolder;
    }); // once it was looked at
    runUntil([this] { return button(u"Reset to Default"_qs)->isEnabled(); });
    press(u"Reset to Default"_qs);
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), chosenFolder);
    press(u"Save Changes"_qs);

    runUntil([this] { return !appSettings.listenerDestinationFolder.get(); });
}

TEST_F(Preferences, FollowTheListenersSettingsUnlessTheyAreEdited)
{
    open(Item::listener);
    type(u"Port"_qs, u"104"_qs);
    core::DCMListenerSettings elsewhere = record();
    elsewhere.aeTitle = u"OTHER"_qs;
    elsewhere.port = 105;
    elsewhere.save(defaults);

    notifications.post(core::kStoreListenerStateChanged);
    settle();

    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"OTHER"_qs);
    EXPECT_EQ(field(u"Port"_qs)->text(), u"104"_qs);
}

TEST_F(Preferences, WriteTheCloudsSettingsAtOnce)
{
    open(Item::quorinCloud);
    picture(u"cloud-dark"_qs);
    EXPECT_EQ(choices(u"Parallel Connection Limit"_qs),
              (QStringList{u"2"_qs, u"4"_qs, u"6"_qs, u"8"_qs, u"10"_qs}));
    EXPECT_EQ(choices(u"Files Per Request"_qs),
              (QStringList{u"2"_qs, u"4"_qs, u"8"_qs, u"16"_qs, u"24"_qs, u"32"_qs}));

    toggle(u"Parallel Transfers"_qs).click();
    choose(u"Parallel Connection Limit"_qs, u"8"_qs);
    choose(u"Files Per Request"_qs, u"24"_qs);
    toggle(u"Batch Uploads"_qs).click();
    toggle(u"Compress to JPEG-LS"_qs).click();
    settle();

    EXPECT_EQ(defaults.object(u"QuorinRetrieveMode"_qs), QVariant(1LL));
    EXPECT_EQ(appSettings.wadoLimit.get(), 8);
    EXPECT_EQ(appSettings.quorinCloudBatchUploadCount.get(), 24);
    EXPECT_FALSE(appSettings.quorinCloudBatchEnabled.get());
    EXPECT_FALSE(appSettings.quorinCloudCompressToLS.get());
    EXPECT_FALSE(choice(u"Files Per Request"_qs).isEnabled());
}

TEST_F(Preferences, FollowTheCloudsSettings)
{
    open(Item::quorinCloud);

    appSettings.wadoLimit.set(6);
    appSettings.quorinCloudCompressToLS.set(false);
    settle();
    EXPECT_EQ(choice(u"Parallel Connection Limit"_qs).currentText(), u"6"_qs);
    EXPECT_FALSE(toggle(u"Compress to JPEG-LS"_qs).isChecked());

    core::setRetrieveMode(defaults, true); // which nobody tells of
    open(Item::account);
    open(Item::quorinCloud);
    EXPECT_TRUE(toggle(u"Parallel Transfers"_qs).isChecked());
}

TEST_F(Preferences, ShowANumberThatIsNotOffered)
{
    appSettings.wadoLimit.set(3);

    open(Item::quorinCloud);

    EXPECT_EQ(choice(u"Parallel Connection Limit"_qs).currentText(), u"3"_qs);
}

TEST_F(Preferences, LeadToTheStoreWhereItIsNamed)
{
    open(Item::quorinCloud);
    press(u"Open Quorin Lens on the Mac App Store"_qs);
    EXPECT_EQ(links, QList<QUrl>{storePage});
    controller.reset();

    storePage = QUrl();
    open(Item::quorinCloud);
    EXPECT_TRUE(says(u"You can manage Quorin Cloud subscriptions in Quorin Lens."_qs));
    EXPECT_EQ(button(u"Open Quorin Lens on the Mac App Store"_qs), nullptr);
}

TEST_F(Preferences, HaveRoomInEveryLook)
{
    signIn();
    const QStringList names{u"account"_qs, u"listener"_qs, u"cloud"_qs};
    for (const Item item : kAllGatewaySettingsItems) {
        const QString name = u"preferences-"_qs + names.at(static_cast<int>(item));
        EXPECT_EQ(testing::clippedInEveryLook(name,
                                              {{860, 640}, {760, 600}},
                                              [&] {
                                                  controller.reset();
                                                  open(item);
                                                  return testing::Opened{window(), theme};
                                              }),
                  "");
    }
}

TEST_F(Preferences, ReadAnewAtF5AndKeepWhatIsEdited)
{
    open(Item::listener);
    type(u"Port"_qs, u"104"_qs);
    core::DCMListenerSettings elsewhere = record();
    elsewhere.aeTitle = u"OTHER"_qs;
    elsewhere.save(defaults);

    QTest::keyClick(&window(), Qt::Key_F5);
    settle();

    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"OTHER"_qs);
    EXPECT_EQ(field(u"Port"_qs)->text(), u"104"_qs);
}

} // namespace
} // namespace gateway::shell
