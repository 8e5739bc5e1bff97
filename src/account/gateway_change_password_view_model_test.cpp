#include "account/gateway_change_password_view_model.h"

#include "account/testing/account_world.h"

namespace gateway::account::testing {

namespace {

using cloud_client::QrnErrorKind;

const QString kCall = QStringLiteral("changePassword");
const QString kOld = QStringLiteral("right");
const QString kNew = QStringLiteral("better");

struct GatewayChangePassword : AccountWorld
{
    ~GatewayChangePassword() override { service.release(); }

    bool change(const QString &current, const QString &next, const QString &confirmation)
    {
        model.setForm({current, next, confirmation});
        return resultOf(model.changePassword());
    }

    std::optional<QString> messageFor(QrnErrorKind kind, const std::optional<QString> &words)
    {
        service.passwordRefusal = kind;
        service.refusal = words;
        EXPECT_FALSE(change(kOld, kNew, kNew));
        return model.errorMessage();
    }

    GatewayChangePasswordViewModel model{{service, main, pool}};
};

} // namespace

TEST_F(GatewayChangePassword, SendsTheThreeTextsAsTyped)
{
    service.password = QStringLiteral(" right ");

    EXPECT_TRUE(change(QStringLiteral(" right "), QStringLiteral(" a "), QStringLiteral(" a ")));

    EXPECT_FALSE(model.errorMessage());
    EXPECT_FALSE(model.isSaving());
    EXPECT_EQ(service.lastPasswordChange->currentPassword, QStringLiteral(" right "));
    EXPECT_EQ(service.lastPasswordChange->newPassword, QStringLiteral(" a "));
    EXPECT_EQ(service.lastPasswordChange->confirmPassword, QStringLiteral(" a "));
    EXPECT_EQ(service.password, QStringLiteral(" a "));
}

TEST_F(GatewayChangePassword, TellsTheFirstRuleThatFails)
{
    EXPECT_FALSE(change({}, {}, {}));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Current password is required."));
    EXPECT_FALSE(change(kOld, {}, {}));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("New password is required."));
    EXPECT_FALSE(change(kOld, kNew, {}));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Please confirm your new password."));
    EXPECT_FALSE(change(kOld, kNew, QStringLiteral("bitter")));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("New passwords do not match."));

    EXPECT_FALSE(model.isSaving());
    EXPECT_TRUE(service.calls().isEmpty());
}

TEST_F(GatewayChangePassword, TakesSpacesForNoCurrentPassword)
{
    EXPECT_FALSE(change(QStringLiteral("  "), kNew, kNew));

    EXPECT_EQ(model.errorMessage(), QStringLiteral("Current password is required."));
}

TEST_F(GatewayChangePassword, TakesSpacesForANewPasswordThatMustThenMatch)
{
    const QString spaces = QStringLiteral("  ");

    EXPECT_FALSE(change(kOld, spaces, QStringLiteral(" ")));
    EXPECT_EQ(model.errorMessage(), QStringLiteral("New passwords do not match."));
    EXPECT_TRUE(change(kOld, spaces, spaces));

    EXPECT_EQ(service.password, spaces);
}

TEST_F(GatewayChangePassword, HasItsOwnWordsForThreeRefusals)
{
    const QString other = QStringLiteral("Other words.");

    EXPECT_EQ(messageFor(QrnErrorKind::sessionInvalid, other),
              QStringLiteral("Your session has expired. Please sign in again."));
    EXPECT_EQ(messageFor(QrnErrorKind::passwordsDoNotMatch, other),
              QStringLiteral("New passwords do not match."));
    EXPECT_EQ(messageFor(QrnErrorKind::currentPasswordIncorrect, other),
              QStringLiteral("Current password is incorrect."));
}

TEST_F(GatewayChangePassword, ShowsTheServicesWordsForAnyOtherRefusal)
{
    EXPECT_EQ(messageFor(QrnErrorKind::badRequest, QStringLiteral(" Too short. ")),
              QStringLiteral("Too short."));
    EXPECT_EQ(messageFor(QrnErrorKind::badRequest, QStringLiteral(" ")),
              QStringLiteral("Failed to change password. Please try again."));
    EXPECT_EQ(messageFor(QrnErrorKind::badRequest, std::nullopt),
              QStringLiteral("Failed to change password. Please try again."));
}

TEST_F(GatewayChangePassword, ShowsTheWordsOfAnyOtherFailure)
{
    service.isOffline = true;

    EXPECT_FALSE(change(kOld, kNew, kNew));

    EXPECT_EQ(model.errorMessage(), QStringLiteral("The cloud can't be reached."));
    EXPECT_FALSE(model.isSaving());
}

TEST_F(GatewayChangePassword, HasItsOwnWordsForAFailureWithoutAny)
{
    service.isOffline = true;

    for (const QString &words : {QString(), QStringLiteral(" \n"), QStringLiteral("(null)")}) {
        service.offlineWords = words;
        EXPECT_FALSE(change(kOld, kNew, kNew));
        EXPECT_EQ(model.errorMessage(), QStringLiteral("Failed to change password. Please try again."));
    }
}

TEST_F(GatewayChangePassword, RefusesASecondChangeWhileOneRuns)
{
    service.hold(kCall);
    model.setForm({kOld, kNew, kNew});
    const auto first = model.changePassword();
    EXPECT_TRUE(model.isSaving());

    EXPECT_FALSE(resultOf(model.changePassword()));
    EXPECT_FALSE(model.errorMessage());
    EXPECT_TRUE(model.isSaving());
    service.release();
    finish(first);

    EXPECT_EQ(service.calls().count(kCall), 1);
}

TEST_F(GatewayChangePassword, ForgetsAnOldFailureOnSuccess)
{
    change(kOld, kNew, {});

    EXPECT_TRUE(change(kOld, kNew, kNew));

    EXPECT_FALSE(model.errorMessage());
}

} // namespace gateway::account::testing
