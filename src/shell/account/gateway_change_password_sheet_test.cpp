#include "shell/account/gateway_change_password_sheet.h"

#include "account/gateway_change_password_view_model.h"
#include "account/testing/account_world.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_field.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>

#include <memory>

namespace gateway::shell {
namespace {

const QString kChange = QStringLiteral("changePassword");

struct PasswordSheet : account::testing::AccountWorld
{
    PasswordSheet()
    {
        settings.setToken(QStringLiteral("token"));
        fixture.window().resize(720, 600);
        EXPECT_TRUE(fixture.show());
        sheet.open();
    }

    ~PasswordSheet() override { service.release(); }

    PasswordField &field(int index) { return *sheet.findChildren<PasswordField *>().at(index); }

    Button &button(const QString &title)
    {
        for (Button *one : sheet.findChildren<Button *>()) {
            if (one->text() == title) {
                return *one;
            }
        }
        throw std::runtime_error("no such button");
    }

    void enter(const QString &current, const QString &fresh, const QString &again)
    {
        int index = 0;
        for (const QString &word : {current, fresh, again}) {
            PasswordField &into = field(index++);
            into.selectAll();
            QTest::keyClicks(&into, word);
        }
    }

    void change()
    {
        button(QStringLiteral("Change Password")).click();
        runUntil([this] { return !model.isSaving(); });
        QCoreApplication::processEvents();
    }

    InlineError &error() { return *sheet.findChild<InlineError *>(); }

    account::GatewayChangePasswordViewModel model{{service, main, pool}};
    testing::ThemedWindow fixture;
    GatewayChangePasswordSheet sheet{fixture.theme(), model, &fixture.window()};
    QSignalSpy successes{&sheet, &GatewayChangePasswordSheet::succeeded};
};

} // namespace

TEST_F(PasswordSheet, TellsTheFirstRuleThatFailsAndSendsNothing)
{
    enter(QStringLiteral("  "), {}, {});
    change();
    EXPECT_TRUE(error().accessibleWords().contains(QStringLiteral("Current password is required.")));

    enter(QStringLiteral("right"), QStringLiteral("  "), QStringLiteral(" "));
    change();

    EXPECT_TRUE(error().accessibleWords().contains(QStringLiteral("New passwords do not match.")));
    EXPECT_FALSE(service.calls().contains(kChange));
    EXPECT_TRUE(sheet.isVisible());
}

TEST_F(PasswordSheet, SendsThePasswordsAsTypedAndTellsOfTheSuccessWhenItIsRead)
{
    enter(QStringLiteral("right"), QStringLiteral(" new "), QStringLiteral(" new "));
    QTest::keyClick(&field(2), Qt::Key_Return);
    runUntil([this] { return service.calls().contains(kChange) && !model.isSaving(); });
    QCoreApplication::processEvents();

    EXPECT_EQ(service.lastPasswordChange->newPassword, QStringLiteral(" new "));
    EXPECT_EQ(sheet.accessibleWords(), QStringLiteral("Password Updated"));
    EXPECT_EQ(successes.count(), 0);
    button(QStringLiteral("OK")).click();

    EXPECT_EQ(successes.count(), 1);
    EXPECT_FALSE(sheet.isVisible());
}

TEST_F(PasswordSheet, StaysWithTheReasonAndWhatWasTypedWhenTheServiceRefuses)
{
    enter(QStringLiteral("wrong"), QStringLiteral("new"), QStringLiteral("new"));

    change();

    EXPECT_TRUE(error().accessibleWords().contains(QStringLiteral("Current password is incorrect.")));
    EXPECT_EQ(field(1).text(), QStringLiteral("new"));
    EXPECT_TRUE(field(0).hasFocus());
}

TEST_F(PasswordSheet, IsNotLeftWhileItSaves)
{
    service.hold(kChange);
    enter(QStringLiteral("right"), QStringLiteral("new"), QStringLiteral("new"));
    button(QStringLiteral("Change Password")).click();
    reach(kChange, 1);

    EXPECT_TRUE(button(QStringLiteral("Change Password")).isBusy());
    EXPECT_FALSE(button(QStringLiteral("Cancel")).isEnabled());
    QTest::keyClick(&field(0), Qt::Key_Escape);
    EXPECT_TRUE(sheet.isVisible());
    service.release();
    runUntil([this] { return !model.isSaving(); });
}

TEST_F(PasswordSheet, ForgetsAllWhenItGoes)
{
    enter(QStringLiteral("right"), QStringLiteral("new"), QStringLiteral("new"));

    button(QStringLiteral("Cancel")).click();

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_TRUE(field(0).text().isEmpty());
    EXPECT_TRUE(model.form().newPassword.isEmpty());
    sheet.open();
    EXPECT_TRUE(field(1).text().isEmpty());
}

TEST_F(PasswordSheet, HasRoomInEveryLook)
{
    ASSERT_TRUE(fixture.show());
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("password"),
                                          {{860, 640}, {720, 520}},
                                          fixture,
                                          [this] {
                                              return std::make_unique<GatewayChangePasswordSheet>(
                                                  fixture.theme(), model, &fixture.window());
                                          }),
              "");
}

} // namespace gateway::shell
