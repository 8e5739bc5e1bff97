#include "shell/dashboard/imports/import_progress_card.h"

#include "receive/store_manual_import_service.h"
#include "receive/testing/manual_import_world.h"
#include "shell/controls/button.h"
#include "shell/controls/progress_row.h"
#include "shell/dashboard/testing/held_imports.h"
#include "shell/testing/themed_window.h"

#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using receive::testing::ManualImportWorld;

class Imports : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(window.show()); }
    void TearDown() override { held.release(); }

    /// Begins a batch of so many files, each of which waits.
    QString begin(int files, const QString &folder = u"a"_qs)
    {
        for (int i = 0; i < files; ++i) {
            world.source(u"%1/IM%2"_qs.arg(folder).arg(i), "DICM " + folder.toUtf8() + QByteArray::number(i));
        }
        return world.begin({world.sources() + u'/' + folder});
    }

    QStringList words() const
    {
        QCoreApplication::processEvents();
        QStringList all;
        const QList<QLabel *> labels = card.findChildren<QLabel *>();
        for (const QLabel *label : labels) {
            if (label->isVisible()) {
                all.append(label->text());
            }
        }
        return all;
    }

    Button *button(const QString &name) const
    {
        const QList<Button *> all = card.findChildren<Button *>();
        for (Button *each : all) {
            if (each->isVisible() && (each->text() == name || each->accessibleName() == name)) {
                return each;
            }
        }
        return nullptr;
    }

    void end(const QString &batch)
    {
        world.awaitEnd(batch);
        card.refresh();
        QCoreApplication::processEvents();
    }

    testing::HeldImports held;
    ManualImportWorld world{&held};
    testing::ThemedWindow window;
    ImportProgressCard &card = window.add(new ImportProgressCard(window.theme(), *world.service));
};

TEST_F(Imports, AreNotThereWhileThereAreNone)
{
    EXPECT_FALSE(card.isVisible());
    card.follow({});
    EXPECT_FALSE(card.isVisible());
}

TEST_F(Imports, ShowHowFarTheyAreInNumbers)
{
    held.hold();
    const QString batch = begin(3);
    card.follow(batch);
    held.waitForArrivals(1);
    card.refresh();
    EXPECT_TRUE(card.isVisible());
    EXPECT_TRUE(words().contains(u"0 of 3 files"_qs)) << words().join(u'|').toStdString();

    held.letPass(1);
    held.waitForArrivals(2);
    card.refresh();
    EXPECT_TRUE(words().filter(u"1 of 3 files"_qs).size() == 1) << words().join(u'|').toStdString();

    held.release();
    end(batch);
    EXPECT_TRUE(words().contains(u"Imported 3 of 3 files"_qs));
    EXPECT_EQ(card.findChild<ProgressRow *>(), nullptr);
}

TEST_F(Imports, CanBeStopped)
{
    held.hold();
    const QString batch = begin(3);
    card.follow(batch);
    held.waitForArrivals(1);

    button(u"Stop"_qs)->click();
    EXPECT_TRUE(button(u"Stop"_qs)->isBusy());
    held.release();
    end(batch);

    EXPECT_TRUE(words().contains(u"Imported 1 of 1 files, then stopped"_qs))
        << words().join(u'|').toStdString();
}

TEST_F(Imports, TellWhatWasPassedOverAndWhy)
{
    world.source(u"a/note.txt"_qs, "no image");
    world.source(u"a/locked.zip"_qs, "LOCKED");
    const QString batch = begin(1);
    card.follow(batch);
    end(batch);

    EXPECT_TRUE(words().contains(u"Imported 1 of 2 files"_qs)) << words().join(u'|').toStdString();
    EXPECT_EQ(words().filter(u"1 not DICOM: "_qs).size(), 1);
    EXPECT_EQ(words().filter(u"1 archive with a password: "_qs).size(), 1);
}

TEST_F(Imports, GoWhenTheyAreDismissed)
{
    const QString batch = begin(1);
    card.follow(batch);
    end(batch);

    button(u"Dismiss"_qs)->click();

    EXPECT_FALSE(card.isVisible());
}

TEST_F(Imports, MakeRoomForTheNextOnceTheyHaveEnded)
{
    const QString first = begin(1);
    card.follow(first);
    end(first);

    const QString second = begin(2, u"b"_qs);
    card.follow(second);
    end(second);

    EXPECT_FALSE(words().contains(u"Imported 1 of 1 files"_qs));
    EXPECT_TRUE(words().contains(u"Imported 2 of 2 files"_qs));
}

TEST_F(Imports, WaitForThoseBeforeThem)
{
    held.hold();
    const QString first = begin(1);
    card.follow(first);
    held.waitForArrivals(1);
    const QString second = begin(1, u"b"_qs);

    card.follow(second);

    EXPECT_TRUE(words().contains(u"Waiting for the import before it"_qs));
    EXPECT_EQ(card.findChildren<ProgressRow *>().size(), 2);
    held.release();
    end(second);
    EXPECT_EQ(words().filter(u"Imported 1 of 1 files"_qs).size(), 2);
}

TEST_F(Imports, ThatNobodyKnowsAnyMoreHaveEnded)
{
    card.follow(u"unknown"_qs);

    EXPECT_EQ(card.findChild<ProgressRow *>(), nullptr);
    EXPECT_TRUE(words().contains(u"Ended. The logs tell what became of it."_qs));
}

} // namespace
} // namespace gateway::shell
