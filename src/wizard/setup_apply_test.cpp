#include "wizard/setup_apply.h"

#include "core/dcm_listener_settings.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using core::DCMListenerSettings;
using core::GatewayAutoDeleteMode;

class SetupApply : public ::testing::Test
{
protected:
    GatewaySetupDraft draft() const
    {
        GatewaySetupDraft draft;
        draft.aeTitle = u"  gate 1 "_qs;
        draft.portText = u"11112"_qs;
        draft.advertiseWithBonjour = false;
        draft.destinationFolder = m_home.path();
        draft.autoDeleteMode = GatewayAutoDeleteMode::days;
        draft.autoDeleteValueText = u"30"_qs;
        return draft;
    }

    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{m_home.filePath(u"defaults.sqlite"_qs)};
    core::Settings m_settings{m_defaults};
};

TEST_F(SetupApply, WritesTheDraftAndKeepsWhatItDoesNotHold)
{
    DCMListenerSettings before = DCMListenerSettings::load(m_defaults);
    before.timeout = std::chrono::seconds(77);
    before.isEnabled = false;
    ASSERT_TRUE(before.save(m_defaults));

    ASSERT_EQ(writeDraft(draft(), m_home.path().toUtf8(), m_settings, m_defaults), std::nullopt);

    const DCMListenerSettings after = DCMListenerSettings::load(m_defaults);
    EXPECT_EQ(after.aeTitle, u"gate 1"_qs);
    EXPECT_EQ(after.port, 11112);
    EXPECT_EQ(after.timeout, std::chrono::seconds(77));
    EXPECT_EQ(after.isEnabled, true);
    EXPECT_EQ(after.advertiseWithBonjour, false);
    EXPECT_EQ(m_settings.listenerDestinationFolder.get(), m_home.path());
    EXPECT_EQ(m_settings.listenerDestinationFolderBookmark.get(), m_home.path().toUtf8());
    EXPECT_EQ(m_settings.gatewayAutoDeleteMode.get(), GatewayAutoDeleteMode::days);
    EXPECT_EQ(m_settings.gatewayAutoDeleteValue.get(), 30);
    EXPECT_TRUE(core::isSetupRequired(m_settings));
}

TEST_F(SetupApply, ForgetsFolderAndAmountThatTheDraftHasNot)
{
    ASSERT_EQ(writeDraft(draft(), m_home.path().toUtf8(), m_settings, m_defaults), std::nullopt);
    GatewaySetupDraft plain = draft();
    plain.destinationFolder = std::nullopt;
    plain.autoDeleteMode = GatewayAutoDeleteMode::never;

    ASSERT_EQ(writeDraft(plain, std::nullopt, m_settings, m_defaults), std::nullopt);

    EXPECT_EQ(m_settings.listenerDestinationFolder.get(), std::nullopt);
    EXPECT_EQ(m_settings.listenerDestinationFolderBookmark.get(), std::nullopt);
    EXPECT_EQ(m_settings.gatewayAutoDeleteValue.get(), std::nullopt);
}

TEST_F(SetupApply, WritesNothingWhenTheFolderCannotBeKept)
{
    EXPECT_EQ(writeDraft(draft(), std::nullopt, m_settings, m_defaults),
              u"Could not save folder permissions. Choose a different folder."_qs);
    EXPECT_TRUE(m_defaults.keys().isEmpty());
}

TEST_F(SetupApply, OpensTheGateWithItsMarks)
{
    const QDateTime now(QDate(2026, 5, 4), QTime(3, 2, 1), Qt::UTC);

    EXPECT_TRUE(markSetupCompleted(m_settings, now));

    EXPECT_FALSE(core::isSetupRequired(m_settings));
    EXPECT_EQ(m_settings.gatewaySetupVersion.get(), 1);
    EXPECT_EQ(m_settings.gatewaySetupCompletedAt.get(), now);
}

} // namespace
} // namespace gateway::wizard
