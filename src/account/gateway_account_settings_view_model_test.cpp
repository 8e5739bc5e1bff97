#include "account/gateway_account_settings_view_model.h"

#include "account/quorin_auth_view_model.h"
#include "account/testing/account_world.h"

namespace gateway::account::testing {

namespace {

const QString kGetUser = QStringLiteral("getUser");
const QString kUpdateUser = QStringLiteral("updateUser");

struct GatewayAccountSettings : AccountWorld
{
    GatewayAccountSettings()
    {
        settings.setToken(QStringLiteral("ann"));
        service.user.email = QStringLiteral("ann@site.example");
        service.user.firstName = QStringLiteral("Ann");
        service.user.middleName = QStringLiteral("B.");
        service.user.workplaceName = QStringLiteral("East Clinic");
    }

    ~GatewayAccountSettings() override { service.release(); }

    void load(bool force = false) { finish(model.load(force)); }
    void save() { finish(model.save()); }

    QuorinAuthViewModel auth{{service, service, settings, defaults, notifications, main, pool, clock},
                             QStringLiteral("3.1.0")};
    GatewayAccountSettingsViewModel model{{service, auth, main, pool}};
};

} // namespace

TEST_F(GatewayAccountSettings, LoadsTheProfileIntoTheForm)
{
    load();

    EXPECT_EQ(
        model.form(),
        (GatewayAccountForm{
            {}, QStringLiteral("Ann"), QStringLiteral("B."), {}, {}, {}, {}, QStringLiteral("East Clinic")}));
    EXPECT_EQ(model.email(), QStringLiteral("ann@site.example"));
    EXPECT_EQ(model.user()->id, 42);
    EXPECT_FALSE(model.isLoading());
}

TEST_F(GatewayAccountSettings, LeavesTheFormWhenLoadingFails)
{
    load();
    service.isOffline = true;

    load();

    EXPECT_EQ(model.form().firstName, QStringLiteral("Ann"));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("The cloud can't be reached."));
    EXPECT_FALSE(model.isLoading());
}

TEST_F(GatewayAccountSettings, ChangesNothingByAPlainLoadDuringALoad)
{
    service.hold(kGetUser);
    const auto first = model.load(false);
    EXPECT_TRUE(model.isLoading());

    const auto second = model.load(false);

    EXPECT_TRUE(second.isReady());
    EXPECT_TRUE(model.isLoading());
    service.release();
    finish(first);
    EXPECT_EQ(service.calls().count(kGetUser), 1);
}

TEST_F(GatewayAccountSettings, LoadsAgainBesideALoadWhenForced)
{
    service.hold(kGetUser);
    const auto first = model.load(false);
    const auto second = model.load(true);
    reach(kGetUser, 2);

    service.release();
    finish(first);
    finish(second);

    EXPECT_EQ(service.calls().count(kGetUser), 2);
    EXPECT_FALSE(model.isLoading());
}

TEST_F(GatewayAccountSettings, TakesTheSuccessAwayByAForcedLoadOnly)
{
    load();
    save();

    load(false);
    EXPECT_TRUE(model.successMessage());
    load(true);

    EXPECT_FALSE(model.successMessage());
}

TEST_F(GatewayAccountSettings, ShowsTheFirstPrimaryWorkplaceWhenTheRecordNamesNone)
{
    service.user.workplaceName = QStringLiteral("  ");
    service.user.workplaces = {{1, QStringLiteral("West Clinic"), false},
                               {2, QStringLiteral(" North Clinic "), true},
                               {3, QStringLiteral("South Clinic"), true}};

    load();

    EXPECT_EQ(model.form().workplace, QStringLiteral("North Clinic"));
    EXPECT_EQ(model.workplaces(), service.user.workplaces);
}

TEST_F(GatewayAccountSettings, ShowsNoWorkplaceWhenNoneIsNamedOrPrimary)
{
    service.user.workplaceName.reset();
    service.user.workplaces = {{1, QStringLiteral("West Clinic"), false}};

    load();

    EXPECT_TRUE(model.form().workplace.isEmpty());
}

TEST_F(GatewayAccountSettings, SendsNothingForABlankMiddleName)
{
    load();
    GatewayAccountForm form = model.form();
    form.middleName = QStringLiteral("  ");
    form.lastName = QStringLiteral(" Miller ");
    model.setForm(form);

    save();

    ASSERT_TRUE(service.lastUpdate);
    EXPECT_FALSE(service.lastUpdate->middleName);
    EXPECT_EQ(service.lastUpdate->lastName, QStringLiteral("Miller"));
    EXPECT_EQ(service.lastUpdate->workplace, QStringLiteral("East Clinic"));
    EXPECT_EQ(model.form().middleName, QString());
    EXPECT_EQ(model.form().lastName, QStringLiteral("Miller"));
}

TEST_F(GatewayAccountSettings, LeavesWhatWasChangedElsewhereMeanwhileAsItIs)
{
    service.user.phoneNumber = QStringLiteral("111");
    load();
    GatewayAccountForm form = model.form();
    form.firstName = QStringLiteral("Anna");
    model.setForm(form);
    service.user.phoneNumber = QStringLiteral("222");
    service.user.record.insert(QStringLiteral("language"), QStringLiteral("de"));

    save();

    ASSERT_TRUE(service.lastUpdate);
    EXPECT_EQ(service.lastUpdate->firstName, QStringLiteral("Anna"));
    EXPECT_EQ(service.lastUpdate->phoneNumber, QStringLiteral("222"));
    EXPECT_EQ(service.lastUpdate->toJson().value(QStringLiteral("language")), QStringLiteral("de"));
    EXPECT_EQ(model.form().phoneNumber, QStringLiteral("222"));
}

TEST_F(GatewayAccountSettings, ClearsWhatWasClearedHereThoughItWasChangedElsewhere)
{
    load();
    GatewayAccountForm form = model.form();
    form.middleName.clear();
    model.setForm(form);
    service.user.middleName = QStringLiteral("C.");

    save();

    ASSERT_TRUE(service.lastUpdate);
    EXPECT_FALSE(service.lastUpdate->middleName);
}

TEST_F(GatewayAccountSettings, SavesNothingOverARecordThatIsOfAnotherSession)
{
    load();
    service.hold(kGetUser);
    const auto saving = model.save();
    reach(kGetUser, 2);

    model.reset();
    service.release();
    finish(saving);

    EXPECT_FALSE(service.calls().contains(kUpdateUser));
}

TEST_F(GatewayAccountSettings, SaysSoWhenSavedAndLetsTheLabelFollow)
{
    load();
    model.beginEditing();
    GatewayAccountForm form = model.form();
    form.workplace = QStringLiteral("West Clinic");
    model.setForm(form);

    save();

    EXPECT_EQ(model.successMessage(), QStringLiteral("Account updated successfully."));
    EXPECT_FALSE(model.isEditing());
    EXPECT_FALSE(model.isSaving());
    EXPECT_EQ(auth.signedInLabel(), QStringLiteral("West Clinic"));
}

TEST_F(GatewayAccountSettings, StaysInEditingWhenSavingFails)
{
    load();
    model.beginEditing();
    GatewayAccountForm form = model.form();
    form.title = QStringLiteral("Dr.");
    model.setForm(form);
    service.isOffline = true;

    save();

    EXPECT_EQ(model.errorMessage(), QStringLiteral("The cloud can't be reached."));
    EXPECT_FALSE(model.successMessage());
    EXPECT_TRUE(model.isEditing());
    EXPECT_FALSE(model.isSaving());
    EXPECT_EQ(model.form().title, QStringLiteral("Dr."));
}

TEST_F(GatewayAccountSettings, SavesNothingBeforeAProfileWasLoaded)
{
    save();

    EXPECT_FALSE(service.calls().contains(kUpdateUser));
}

TEST_F(GatewayAccountSettings, SavesOnceForTwoSavesAtATime)
{
    load();
    service.hold(kUpdateUser);
    const auto first = model.save();
    EXPECT_TRUE(model.isSaving());
    const auto second = model.save();

    EXPECT_TRUE(second.isReady());
    service.release();
    finish(first);
    EXPECT_EQ(service.calls().count(kUpdateUser), 1);
}

TEST_F(GatewayAccountSettings, PutsTheFormBackWhenEditingIsCancelled)
{
    load();
    model.beginEditing();
    GatewayAccountForm form = model.form();
    form.firstName = QStringLiteral("Other");
    model.setForm(form);
    model.passwordWasChanged();

    model.cancelEditing();

    EXPECT_EQ(model.form().firstName, QStringLiteral("Ann"));
    EXPECT_FALSE(model.isEditing());
    EXPECT_FALSE(model.successMessage());
}

TEST_F(GatewayAccountSettings, OnlyLeavesEditingWhenCancelledBeforeAProfileWasLoaded)
{
    model.beginEditing();
    GatewayAccountForm form;
    form.firstName = QStringLiteral("Other");
    model.setForm(form);
    model.passwordWasChanged();

    model.cancelEditing();

    EXPECT_FALSE(model.isEditing());
    EXPECT_EQ(model.form().firstName, QStringLiteral("Other"));
    EXPECT_TRUE(model.successMessage());
}

TEST_F(GatewayAccountSettings, IsEmptyAfterTheSessionEnds)
{
    load();
    model.beginEditing();

    model.reset();

    EXPECT_FALSE(model.user());
    EXPECT_EQ(model.form(), GatewayAccountForm());
    EXPECT_TRUE(model.email().isEmpty());
    EXPECT_TRUE(model.workplaces().isEmpty());
    EXPECT_FALSE(model.isEditing());
}

TEST_F(GatewayAccountSettings, ShowsNoProfileThatArrivesAfterTheSessionEnded)
{
    service.hold(kGetUser);
    const auto loading = model.load(false);
    reach(kGetUser, 1);

    model.reset();
    service.release();
    finish(loading);

    EXPECT_FALSE(model.user());
    EXPECT_EQ(model.form(), GatewayAccountForm());
}

TEST_F(GatewayAccountSettings, ShowsNothingOfASavingThatEndsAfterTheSession)
{
    load();
    service.hold(kUpdateUser);
    const auto saving = model.save();
    reach(kUpdateUser, 1);

    model.reset();
    service.release();
    finish(saving);

    EXPECT_FALSE(model.user());
    EXPECT_FALSE(model.successMessage());
    EXPECT_FALSE(model.isSaving());
}

TEST_F(GatewayAccountSettings, SaysThatThePasswordWasChangedInPlaceOfAnError)
{
    service.isOffline = true;
    load();

    model.passwordWasChanged();

    EXPECT_FALSE(model.errorMessage());
    EXPECT_EQ(model.successMessage(), QStringLiteral("Password updated successfully."));
}

TEST_F(GatewayAccountSettings, LeavesTheSessionAloneWhenTheServiceRefusesIt)
{
    service.knowsUser = false;

    load();

    EXPECT_EQ(settings.token(), QStringLiteral("ann"));
}

} // namespace gateway::account::testing
