// The life of one image on the log screen.

#include "shell/controls/text_field.h"
#include "shell/log/log_details.h"
#include "shell/log/testing/log_screen_world.h"

namespace gateway::shell {
namespace {

using log::testing::eventAt;
using testing::kFile;
using testing::LogScreenTest;

TEST_F(LogScreenTest, ShowsTheLifeOfTheImageOfARowUntilAllEventsAreWantedAgain)
{
    fill(0, 40);
    for (const log::GatewayLogEvent &event : testing::lifeOfAnImage(40)) {
        folder.append(kFile, event);
    }
    fill(60, 80);
    open();
    choose(box(QStringLiteral("Level")), 2); // info: neither the failed uploads nor the debugging
    const int all = rowCount();
    clickRow(13);
    ASSERT_EQ(timeAt(table().currentIndex().row()), logTimeText(eventAt(45).timestamp));

    QTest::mouseClick(&button(QStringLiteral("Show Life of This Image")), Qt::LeftButton);
    QApplication::processEvents();

    EXPECT_EQ(rowCount(), 10);
    EXPECT_EQ(timeAt(0), logTimeText(eventAt(49).timestamp));
    EXPECT_EQ(timeAt(9), logTimeText(eventAt(40).timestamp));
    EXPECT_EQ(timeAt(table().currentIndex().row()), logTimeText(eventAt(45).timestamp));
    EXPECT_TRUE(shows(QStringLiteral("From association to removal: 2222222222222222")));
    EXPECT_FALSE(the<SearchField>().isVisible());
    EXPECT_TRUE(table().hasFocus());
    EXPECT_EQ(testing::clippedIn(*screen), QStringList());
    picture(QStringLiteral("life-dark"));
    fixture->theme().setVariant(Variant::light);
    picture(QStringLiteral("life-light"));
    QTest::mouseClick(&button(QStringLiteral("Show All Events")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), all);
    EXPECT_TRUE(the<SearchField>().isVisible());
    EXPECT_EQ(model->levelFilter(), log::LevelFilter::info);
}

TEST_F(LogScreenTest, OffersTheLifeOfAnImageWhereTheRowHasOne)
{
    log::GatewayLogEvent ofNobody = eventAt(1);
    log::GatewayLogEvent inTheCloud = eventAt(2);
    inTheCloud.category = log::GatewayLogCategory::quorinCloud;
    inTheCloud.fileHash = QStringLiteral("0123456789abcdef");
    log::GatewayLogEvent association = eventAt(3);
    association.category = log::GatewayLogCategory::receive;
    association.action = log::GatewayLogAction::associationStarted;
    association.assocHash = QStringLiteral("aaaaaaaaaaaaaaaa");
    for (const log::GatewayLogEvent &event : {ofNobody, inTheCloud, association}) {
        folder.append(kFile, event);
    }
    open();
    const auto offers = [this] {
        const auto buttons = the<LogDetails>().findChildren<QAbstractButton *>();
        return std::ranges::any_of(buttons, [](const QAbstractButton *each) {
            return each->isVisible() && each->text().startsWith(QStringLiteral("Show Li"));
        });
    };

    clickRow(2);
    EXPECT_FALSE(offers());
    clickRow(1);
    EXPECT_FALSE(offers());
    clickRow(0);
    QTest::mouseClick(&button(QStringLiteral("Show Lives of Its Images")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), 1);
    EXPECT_EQ(model->imageHashes(), QStringList(QStringLiteral("aaaaaaaaaaaaaaaa")));
}

TEST_F(LogScreenTest, LeavesTheLifeOfAnImageForASearch)
{
    fill(0, 10);
    open();
    model->setImageHashes({QStringLiteral("0123456789abcdef")});
    ASSERT_FALSE(the<SearchField>().isVisible());
    table().setFocus();

    QTest::keyClick(&table(), Qt::Key_F, Qt::ControlModifier);

    EXPECT_TRUE(the<SearchField>().hasFocus());
    EXPECT_EQ(rowCount(), 10);
}

TEST_F(LogScreenTest, ComesBackToAllEventsFromALifeThatWasDeleted)
{
    fill(0, 10);
    open();
    model->setImageHashes({QStringLiteral("ffffffffffffffff")});
    ASSERT_EQ(rowCount(), 0);

    QTest::mouseClick(&button(QStringLiteral("Reset Filters")), Qt::LeftButton);

    EXPECT_EQ(rowCount(), 10);
    EXPECT_TRUE(the<SearchField>().isVisible());
}

} // namespace
} // namespace gateway::shell
