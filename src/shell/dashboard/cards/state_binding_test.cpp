// The widgets over the real live figures, on a manual clock.

#include "shell/dashboard/cards/state_binding.h"

#include "shell/dashboard/cards/flow_overlay.h"
#include "shell/dashboard/cards/upload_speed_value_label.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/testing/themed_window.h"
#include "state/testing/state_world.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::ThemedWindow;

/// A shown window, and live figures.
class Bound : public ::testing::Test
{
protected:
    void SetUp() override
    {
        live = &world.launch();
        ASSERT_TRUE(window.show());
    }

    state::testing::StateWorld world;
    state::GatewayAppState *live = nullptr;
    ThemedWindow window;
};

TEST_F(Bound, TheDownArrowsFlowWhileAnAssociationIsOpen)
{
    window.theme().setReducedMotion(false);
    auto &overlay = window.add(new DownArrowFlowOverlay(window.theme(), world.clock));
    overlay.show();
    live->syncListeningState();
    bind(overlay, *live);
    EXPECT_FALSE(overlay.isMoving());

    live->beginReceiveAssociation(QStringLiteral("a"));
    testing::showFigures();
    EXPECT_TRUE(overlay.isMoving());
    live->endReceiveAssociation(QStringLiteral("a"));
    testing::showFigures();

    EXPECT_FALSE(overlay.isMoving());
}

TEST_F(Bound, TheUpArrowsAndTheSpeedFollowTheUpload)
{
    window.theme().setReducedMotion(false);
    auto &overlay = window.add(new UpArrowFlowOverlay(window.theme(), world.clock));
    auto &label = window.add(new UploadSpeedValueLabel(window.theme()));
    overlay.show();
    bind(overlay, *live);
    bind(label, *live);
    EXPECT_FALSE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("--"));

    live->recordUploadThroughput(2'500'000, 1s);
    testing::showFigures();
    EXPECT_TRUE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("20.0 Mbps"));
    live->resetUploadSpeed();
    testing::showFigures();

    EXPECT_FALSE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("--"));
}

} // namespace
} // namespace gateway::shell
