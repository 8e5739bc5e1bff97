#include "wizard/listener_settings_view_model.h"

#include "core/notification_names.h"
#include "wizard/setup_apply.h"
#include "wizard/testing/setup_world.h"

#include <QtCore/QDir>

namespace gateway::wizard {

namespace {

const QString kTimeoutMessage = QStringLiteral("Timeout must be a number between 1 and 600.");
const QString kPortMessage = QStringLiteral("Port must be a number between 1 and 65535.");

struct ListenerSettings : testing::SetupWorld
{
    ListenerSettings() { markSetupCompleted(appSettings, clock.now()); }

    ~ListenerSettings() override
    {
        machine.release();
        form.reset();
    }

    ListenerSettingsViewModel &settingsForm()
    {
        if (!form) {
            form.emplace(SetupWorld::parts(), notifications);
        }
        return *form;
    }

    template <typename Change>
    void edit(Change change)
    {
        ListenerSettingsForm changed = settingsForm().form();
        change(changed);
        settingsForm().edit(changed);
    }

    void setPort(const QString &text)
    {
        edit([&](ListenerSettingsForm &changed) { changed.portText = text; });
    }

    void setTimeout(const QString &text)
    {
        edit([&](ListenerSettingsForm &changed) { changed.timeoutText = text; });
    }

    void save() { finish(settingsForm().save()); }

    QString error() { return settingsForm().errorMessage().value_or(QString()); }

    std::optional<ListenerSettingsViewModel> form;
};

} // namespace

TEST_F(ListenerSettings, ShowWhatIsStored)
{
    const ListenerSettingsForm &shown = settingsForm().form();

    EXPECT_TRUE(shown.isEnabled);
    EXPECT_EQ(shown.aeTitle, u"GATE"_qs);
    EXPECT_EQ(shown.portText, u"11112"_qs);
    EXPECT_EQ(shown.timeoutText, u"30"_qs);
    EXPECT_TRUE(shown.advertiseWithBonjour);
    EXPECT_FALSE(shown.destinationFolder);
    EXPECT_EQ(settingsForm().folder(), u"/home/Documents/Import"_qs);
    EXPECT_FALSE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, TakeTimeoutsUpToTenMinutes)
{
    setTimeout(u" 600 "_qs);
    save();
    EXPECT_EQ(error(), QString());
    EXPECT_EQ(record().timeout, std::chrono::seconds(600));

    for (const QString &text : {u"601"_qs, u"0"_qs, u"abc"_qs, u""_qs, u"-1"_qs}) {
        setTimeout(text);
        save();
        EXPECT_EQ(error(), kTimeoutMessage) << text.toStdString();
    }
    EXPECT_EQ(record().timeout, std::chrono::seconds(600));
}

TEST_F(ListenerSettings, NameThePortBeforeTheTimeout)
{
    setPort(u"65536"_qs);
    setTimeout(u"601"_qs);
    save();
    EXPECT_EQ(error(), kPortMessage);

    setPort(u"104"_qs);
    save();
    EXPECT_EQ(error(), kTimeoutMessage);
    EXPECT_EQ(record().port, 11112);
    EXPECT_EQ(listener.calls, QStringList());
}

TEST_F(ListenerSettings, StopTheListenerThatIsSwitchedOff)
{
    listener.isRunning = true;
    edit([](ListenerSettingsForm &changed) { changed.isEnabled = false; });

    save();

    EXPECT_EQ(listener.calls, QStringList{u"stop"_qs});
    EXPECT_EQ(record().isEnabled, false);
}

TEST_F(ListenerSettings, RestartARunningListenerAndStartOneThatIsOff)
{
    setPort(u"104"_qs);
    save();
    EXPECT_EQ(listener.calls, QStringList{u"start"_qs});

    listener.calls.clear();
    setPort(u"105"_qs);
    save();

    EXPECT_EQ(listener.calls, (QStringList{u"stop"_qs, u"start"_qs}));
    EXPECT_EQ(record().port, 105);
    EXPECT_FALSE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, StartNothingBeforeSetupIsComplete)
{
    appSettings.gatewaySetupCompleted.set(false);
    setPort(u"104"_qs);

    save();

    EXPECT_EQ(record().port, 104);
    EXPECT_EQ(listener.calls, QStringList());
}

TEST_F(ListenerSettings, KeepWhatIsNotOnTheForm)
{
    core::DCMListenerSettings before = record();
    before.associationsPerAddress = 7;
    before.syntax = core::PreferredSyntaxForIncomingType::jpegLossless;
    before.isEnabled = std::nullopt;
    before.save(defaults);
    setPort(u"104"_qs);

    save();

    before.port = 104;
    EXPECT_EQ(record(), before);
}

TEST_F(ListenerSettings, WriteOnlyWhatWasEditedOverWhatWasChangedElsewhere)
{
    settingsForm();
    core::DCMListenerSettings elsewhere = record();
    elsewhere.aeTitle = u"OTHER"_qs;
    elsewhere.timeout = std::chrono::seconds(77);
    elsewhere.save(defaults);
    setPort(u"104"_qs);

    save();

    EXPECT_EQ(record().aeTitle, u"OTHER"_qs);
    EXPECT_EQ(record().timeout, std::chrono::seconds(77));
    EXPECT_EQ(record().port, 104);
    EXPECT_EQ(settingsForm().form().aeTitle, u"OTHER"_qs);
}

TEST_F(ListenerSettings, WriteOverWhatChangesWhileTheMachineIsAsked)
{
    setPort(u"104"_qs);
    machine.hold();
    const auto saving = settingsForm().save();
    runUntil([this] { return machine.askedPorts().contains(104); });
    core::DCMListenerSettings elsewhere = record();
    elsewhere.aeTitle = u"OTHER"_qs;
    elsewhere.save(defaults);
    notifications.post(core::kStoreListenerStateChanged);

    machine.release();
    finish(saving);

    EXPECT_EQ(record().aeTitle, u"OTHER"_qs);
    EXPECT_EQ(record().port, 104);
}

TEST_F(ListenerSettings, FollowTheListenersSwitchElsewhere)
{
    setPort(u"104"_qs);
    core::DCMListenerSettings elsewhere = record();
    elsewhere.isEnabled = false;
    elsewhere.save(defaults);

    notifications.post(core::kStoreListenerStateChanged);

    EXPECT_FALSE(settingsForm().form().isEnabled);
    EXPECT_EQ(settingsForm().form().portText, u"104"_qs); // edited here
    EXPECT_TRUE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, FollowAFolderThatIsChosenElsewhere)
{
    settingsForm();

    appSettings.listenerDestinationFolder.set(u"/scans"_qs);
    main.drain();

    EXPECT_EQ(settingsForm().folder(), u"/scans"_qs);
    EXPECT_FALSE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, DropTheEditsAtAReload)
{
    setPort(u"x"_qs);
    save();

    settingsForm().reload();

    EXPECT_EQ(settingsForm().form().portText, u"11112"_qs);
    EXPECT_EQ(error(), QString());
}

TEST_F(ListenerSettings, KeepAFolderWithItsBookmark)
{
    const QString scans = folder.filePath(u"scans"_qs);
    QDir().mkpath(scans);
    edit([&](ListenerSettingsForm &changed) { changed.destinationFolder = scans; });

    save();
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), scans);
    EXPECT_EQ(appSettings.listenerDestinationFolderBookmark.get(), scans.toUtf8());

    edit([](ListenerSettingsForm &changed) { changed.destinationFolder = std::nullopt; });
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), scans); // nothing before it is saved
    save();
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), std::nullopt);
    EXPECT_EQ(appSettings.listenerDestinationFolderBookmark.get(), std::nullopt);
}

TEST_F(ListenerSettings, RefuseAFolderThatTakesNothing)
{
    listener.isRunning = true;
    machine.setFolder(u"/locked"_qs,
                      {u"/locked"_qs, std::nullopt, u"Selected folder is not writable."_qs, std::nullopt});
    edit([](ListenerSettingsForm &changed) {
        changed.destinationFolder = u"/locked"_qs;
        changed.portText = u"104"_qs;
    });

    save();

    EXPECT_EQ(error(), u"Selected folder is not writable."_qs);
    EXPECT_EQ(record().port, 11112);
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), std::nullopt);
    EXPECT_EQ(listener.calls, QStringList()); // what runs goes on
    EXPECT_TRUE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, RefuseAFolderThatDoesNotAnswer)
{
    listener.isRunning = true;
    machine.holdFolders();
    edit([](ListenerSettingsForm &changed) { changed.destinationFolder = u"/dead"_qs; });

    const auto saving = settingsForm().save();
    runUntil([&] {
        clock.advance(std::chrono::seconds(10));
        return saving.isReady();
    });

    EXPECT_EQ(error(),
              u"The folder doesn't answer. The disk or network share that holds it may be away; choose a "
              u"different folder."_qs);
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), std::nullopt);
    EXPECT_EQ(listener.calls, QStringList()); // what runs goes on
    EXPECT_TRUE(settingsForm().hasEdits());
}

TEST_F(ListenerSettings, RefuseAPortThatIsNotToBeHad)
{
    listener.isRunning = true;
    machine.setPort(104, PortState::forbidden);
    machine.setPort(11115, PortState::inUse);

    setPort(u"104"_qs);
    save();
    EXPECT_EQ(error(), u"Port 104 needs rights that this user doesn't have; choose one from 1024 up."_qs);
    setPort(u"11115"_qs);
    save();
    EXPECT_EQ(error(), u"Port 11115 is already in use by another process."_qs);

    EXPECT_EQ(record().port, 11112);
    EXPECT_EQ(listener.calls, QStringList());
}

TEST_F(ListenerSettings, AskNobodyForThePortThatTheListenerHolds)
{
    listener.isRunning = true;
    machine.setPort(11112, PortState::inUse);
    setTimeout(u"60"_qs);

    save();

    EXPECT_EQ(error(), QString());
    EXPECT_EQ(listener.calls, (QStringList{u"stop"_qs, u"start"_qs}));
}

TEST_F(ListenerSettings, MakeALegalTitleOfWhatIsTyped)
{
    edit([](ListenerSettingsForm &changed) {
        changed.aeTitle = u" A\\TITLE THAT IS FAR TOO LONG TO BE ONE"_qs;
    });
    save();
    EXPECT_EQ(record().aeTitle, u"ATITLE THAT IS F"_qs);

    edit([](ListenerSettingsForm &changed) { changed.aeTitle = u"\\\\"_qs; });
    save();
    EXPECT_EQ(error(), u"AE Title must include at least one letter or number."_qs);
    EXPECT_EQ(record().aeTitle, u"ATITLE THAT IS F"_qs);
}

TEST_F(ListenerSettings, AreSavedOnceAtATime)
{
    setPort(u"104"_qs);
    machine.hold();
    const auto saving = settingsForm().save();
    runUntil([this] { return machine.askedPorts().contains(104); });
    EXPECT_TRUE(settingsForm().isSaving());

    setPort(u"105"_qs);
    save();
    settingsForm().reload();
    EXPECT_EQ(settingsForm().form().portText, u"104"_qs);
    machine.release();
    finish(saving);

    EXPECT_EQ(record().port, 104);
    EXPECT_EQ(listener.calls, QStringList{u"start"_qs});
}

TEST_F(ListenerSettings, MayGoWhileTheMachineIsAsked)
{
    setPort(u"104"_qs);
    machine.hold();
    const auto saving = settingsForm().save();
    runUntil([this] { return machine.askedPorts().contains(104); });

    machine.release();
    form.reset();

    EXPECT_EQ(listener.calls, QStringList());
}

} // namespace gateway::wizard
