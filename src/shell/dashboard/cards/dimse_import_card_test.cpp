// Drops on the card of received items.

#include "shell/dashboard/cards/dimse_import_card.h"

#include "shell/dashboard/cards/drop_area.h"
#include "shell/dashboard/frame/dashboard_view.h"
#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/dashboard/frame/overview_page.h"
#include "shell/dashboard/imports/import_progress_card.h"
#include "shell/dashboard/testing/dashboard_world.h"

#include <QtCore/QMimeData>
#include <QtGui/QDropEvent>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::DashboardWorld;

class Drops : public ::testing::Test
{
protected:
    void SetUp() override
    {
        controller.emplace(world.parts());
        controller->show();
        DashboardWorld::runUntil([this] { return !world.cloudStatus.isChecking(); });
        card = &controller->view()->overview().received();
    }

    bool enter(const QList<QUrl> &urls)
    {
        data.setUrls(urls);
        QDragEnterEvent event(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        QCoreApplication::sendEvent(card, &event);
        return event.isAccepted();
    }

    void leave()
    {
        QDragLeaveEvent event;
        QCoreApplication::sendEvent(card, &event);
    }

    /// Drops what hovers, whose kind the card can learn only then.
    void drop(const QList<QUrl> &urls)
    {
        enter({QUrl::fromLocalFile(u"/anything"_qs)});
        data.setUrls(urls);
        QDropEvent event(QPointF(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(card, &event);
    }

    /// A file that can be dropped.
    QUrl file(const QString &name)
    {
        return QUrl::fromLocalFile(world.imports.source(name, "DICM " + name.toUtf8()));
    }

    /// Moves the clock once the indicator's sleep has begun.
    void advance(std::chrono::milliseconds duration)
    {
        world.clock.waitForSleepers(1);
        world.clock.advance(duration);
        QCoreApplication::processEvents();
    }

    void untilIndicatorFalls()
    {
        DashboardWorld::runUntil([this] { return !card->isDropImportIndicatorVisible(); });
    }

    QMimeData data;
    DashboardWorld world;
    std::optional<DashboardWindowController> controller;
    DimseImportCard *card = nullptr;
};

TEST_F(Drops, TheAreaInvitesThem)
{
    EXPECT_EQ(card->dropArea().state(), DropArea::State::rest);
    EXPECT_EQ(card->dropArea().text(), u"Drop DICOM Files Or Folders"_qs);
    EXPECT_EQ(card->dropArea().accessibleDescription(), u"Uses the same pipeline as Manual Import"_qs);
    EXPECT_EQ(card->dropArea().symbol(), u"square.and.arrow.down.fill"_qs);
    EXPECT_FALSE(card->isDropTargeted());
    EXPECT_FALSE(card->isDropImportIndicatorVisible());
}

TEST_F(Drops, TheCardIsTargetedWhileFilesHover)
{
    EXPECT_TRUE(enter({file(u"one"_qs)}));
    EXPECT_TRUE(card->isDropTargeted());
    EXPECT_EQ(card->dropArea().state(), DropArea::State::targeted);
    EXPECT_EQ(card->dropArea().text(), u"Drop DICOM Files Or Folders"_qs);

    leave();
    EXPECT_FALSE(card->isDropTargeted());
    EXPECT_EQ(card->dropArea().state(), DropArea::State::rest);
}

TEST_F(Drops, WhatIsNoFileIsNotTaken)
{
    EXPECT_FALSE(enter({QUrl(u"https://example.org/a.dcm"_qs)}));
    EXPECT_FALSE(enter({}));
    EXPECT_FALSE(card->isDropTargeted());
}

TEST_F(Drops, ADropIsImportedWithItsTrigger)
{
    const QSignalSpy dropped(card, &DimseImportCard::dropped);

    enter({file(u"one"_qs)});
    drop({file(u"one"_qs), QUrl(u"https://example.org/b.dcm"_qs), file(u"two"_qs)});

    EXPECT_FALSE(card->isDropTargeted());
    EXPECT_EQ(dropped.count(), 1);
    DashboardWorld::runUntil([this] { return !world.imports.uploadRequests().isEmpty(); });
    EXPECT_EQ(world.imports.uploadRequests(), QStringList{u"drag_drop_import_succeeded"_qs});
    world.heldImports.waitForArrivals(2);
    EXPECT_TRUE(controller->view()->overview().imports().isVisible());
}

TEST_F(Drops, ADropSaysForAMomentThatItsImportStarted)
{
    drop({file(u"one"_qs)});

    EXPECT_TRUE(card->isDropImportIndicatorVisible());
    EXPECT_EQ(card->dropArea().state(), DropArea::State::started);
    EXPECT_EQ(card->dropArea().text(), u"Import Started"_qs);
    EXPECT_EQ(card->dropArea().symbol(), u"tray.and.arrow.down.fill"_qs);

    advance(1299ms);
    EXPECT_TRUE(card->isDropImportIndicatorVisible());
    advance(1ms);
    untilIndicatorFalls();
    EXPECT_EQ(card->dropArea().text(), u"Drop DICOM Files Or Folders"_qs);
}

TEST_F(Drops, ANewDropDuringTheIndicatorRestartsNothingElse)
{
    const QSignalSpy dropped(card, &DimseImportCard::dropped);
    drop({file(u"one"_qs)});
    advance(1000ms);

    drop({file(u"two"_qs)});
    EXPECT_EQ(dropped.count(), 2); // its import begins all the same
    EXPECT_TRUE(card->isDropImportIndicatorVisible());

    advance(300ms); // the end of the first one
    untilIndicatorFalls();

    drop({file(u"three"_qs)});
    advance(1299ms);
    EXPECT_TRUE(card->isDropImportIndicatorVisible());
    advance(1ms);
    untilIndicatorFalls();
}

TEST_F(Drops, ADropWithoutFileUrlsStartsNoImport)
{
    const QSignalSpy dropped(card, &DimseImportCard::dropped);

    drop({QUrl(u"https://example.org/a.dcm"_qs), QUrl(u"mailto:ann@example.org"_qs), QUrl()});
    drop({});

    EXPECT_EQ(dropped.count(), 0);
    EXPECT_FALSE(card->isDropImportIndicatorVisible());
    EXPECT_TRUE(world.imports.log.events().empty());
    EXPECT_FALSE(controller->view()->overview().imports().isVisible());
}

TEST_F(Drops, OnlyLocalFilesStandForSomething)
{
    const QUrl local = QUrl::fromLocalFile(u"/somewhere/a.dcm"_qs);
    EXPECT_EQ(DimseImportCard::loadDroppedFileURL(local), local);
    EXPECT_FALSE(DimseImportCard::loadDroppedFileURL(QUrl(u"https://example.org/a.dcm"_qs)));
    EXPECT_FALSE(DimseImportCard::loadDroppedFileURL(QUrl()));
    EXPECT_FALSE(DimseImportCard::loadDroppedFileURL(QUrl(u"file:"_qs)));
}

TEST_F(Drops, PressingTheAreaAsksForFilesInstead)
{
    card->dropArea().click();
    ASSERT_EQ(world.imports.panel.requests.size(), 1u);
    EXPECT_EQ(world.imports.panel.requests[0].title, u"Import DICOM Files"_qs);

    world.imports.panel.confirm({file(u"one"_qs)});

    DashboardWorld::runUntil([this] { return !world.imports.uploadRequests().isEmpty(); });
    EXPECT_EQ(world.imports.uploadRequests(), QStringList{u"manual_upload_import_succeeded"_qs});
    EXPECT_TRUE(controller->view()->overview().imports().isVisible());
}

TEST_F(Drops, TheWindowMayGoWhileTheIndicatorShows)
{
    drop({file(u"one"_qs)});
    world.clock.waitForSleepers(1);

    controller.reset();

    EXPECT_TRUE(world.imports.service != nullptr);
}

} // namespace
} // namespace gateway::shell
