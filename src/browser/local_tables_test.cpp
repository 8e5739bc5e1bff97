#include "browser/browser_words.h"
#include "browser/local_study_series_table_view_model.h"
#include "browser/quorin_gateway_local_study_table_view_model.h"
#include "browser/testing/browser_world.h"
#include "core/failure_class.h"
#include "core/notification_names.h"
#include "index/testing/temporary_index.h"
#include "platform/concurrency/testing/gate.h"

namespace gateway::browser::testing {

namespace {

using ::gateway::index::testing::TemporaryIndex;

/// An index that can be made to wait and to fail. Thread: any.
class HeldIndex final : public ::gateway::index::StudyIndex
{
public:
    explicit HeldIndex(index::DicomDB &database) : m_real(database) {}

    QSet<QString> stubborn; ///< can't be deleted; set while nothing is under way

    QList<index::LocalStudySnapshot> studySnapshots() override
    {
        ++loads;
        return m_real.studySnapshots();
    }

    QList<index::LocalSeriesSnapshot> seriesSnapshots(const QString &study) override
    {
        ++loads;
        return m_real.seriesSnapshots(study);
    }

    QList<QUrl> studyFiles(const QString &study, int limit) override
    {
        return m_real.studyFiles(study, limit);
    }

    std::optional<index::OutsideCloud> imagesOutsideCloud(const QStringList &studies) override
    {
        return isReadable ? m_real.imagesOutsideCloud(studies) : std::nullopt;
    }

    std::optional<index::OutsideCloud> seriesImagesOutsideCloud(const QString &study,
                                                                const QStringList &series) override
    {
        return isReadable ? m_real.seriesImagesOutsideCloud(study, series) : std::nullopt;
    }

    index::DeletionCounts deleteStudies(const QStringList &studies,
                                        const std::optional<index::OutsideCloud> &known) override
    {
        ++deletions;
        m_gate.pass();
        return counted(studies, [&](const QStringList &some) { return m_real.deleteStudies(some, known); });
    }

    index::DeletionCounts deleteSeries(const QString &study,
                                       const QStringList &series,
                                       const std::optional<index::OutsideCloud> &known) override
    {
        ++deletions;
        m_gate.pass();
        return counted(series,
                       [&](const QStringList &some) { return m_real.deleteSeries(study, some, known); });
    }

    /// Makes deletions wait, or lets them go on.
    void hold(bool isHeld) { m_gate.hold(isHeld); }

    std::atomic<bool> isReadable = true;
    std::atomic<int> loads = 0;
    std::atomic<int> deletions = 0;

private:
    template <typename Delete>
    index::DeletionCounts counted(QStringList targets, Delete deleteSome)
    {
        const qint64 requested = targets.size();
        targets.removeIf([this](const QString &each) { return stubborn.contains(each); });
        return index::DeletionCounts::of(requested, deleteSome(targets).deleted);
    }

    index::DicomDB &m_real;
    platform::testing::Gate m_gate;
};

struct LocalTables : ::testing::Test, platform::testing::RunsMain
{
    LocalTables()
    {
        import("1", "1.1", "1.1.1");
        import("2", "2.1", "2.1.1");
        import("2", "2.2", "2.2.1");
    }

    ~LocalTables() override { index.hold(false); }

    void import(const char *study, const char *series, const char *image)
    {
        store.import(
            TemporaryIndex::image(QString::fromLatin1(image),
                                  {{QStringLiteral("studyID"), QString::fromLatin1(study)},
                                   {QStringLiteral("seriesID"), QString::fromLatin1(series)},
                                   {QStringLiteral("seriesInstanceUID"), QString::fromLatin1(series)}}));
    }

    LocalBrowserParts parts()
    {
        return {index,
                store.index().failedUploads(),
                store.notifications,
                {store.main, pool, store.clock},
                [this] { ++refreshed; }};
    }

    qsizetype storedFiles() { return store.number(QStringLiteral("SELECT count(*) FROM DicomImage")); }

    TemporaryIndex store;
    platform::WorkerPool pool{QStringLiteral("test"), 3};
    HeldIndex index{store.index()};
    int refreshed = 0;
};

struct LocalStudies : LocalTables
{
    void load() { finish(model.loadStudies()); }

    const QuorinGatewayLocalStudyRow &row(const char *uid) const
    {
        return model.allRows()[*model.rows()->position(QString::fromLatin1(uid))];
    }

    /// Says yes until this question waits for an answer.
    void askAndAwait(DeleteConfirmationStep step)
    {
        model.askToDelete();
        BrowserWorld::awaitArmed(model, store.clock);
        while (model.deleteConfirmationStep() != step) {
            model.confirmDeletion();
            BrowserWorld::awaitArmed(model, store.clock);
        }
    }

    QuorinGatewayLocalStudyTableViewModel model{parts()};
};

} // namespace

TEST_F(LocalStudies, AreThoseOfTheIndexTheLatestFirst)
{
    load();

    EXPECT_EQ(model.allRows().size(), 2U);
    EXPECT_EQ(row("2").imageCount, 2);
    EXPECT_EQ(row("2").syncStateDisplay, QStringLiteral("Not Synced"));
    EXPECT_EQ(model.sortOrder(), (SortOrder{QuorinGatewayLocalStudyRow::dateColumn, false}));
    EXPECT_EQ(model.lastUpdatedAt(), store.clock.now());
    EXPECT_FALSE(model.isLoading());
}

TEST_F(LocalStudies, AreFoundByTheWordOfTheirState)
{
    load();
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1 WHERE sopInstanceUID LIKE '1.1.1%'"));
    load();

    model.setSearchText(QStringLiteral("not synced"));

    ASSERT_EQ(model.shown().size(), 1U);
    EXPECT_EQ(model.allRows()[model.shown().front()].id, QStringLiteral("2"));
}

TEST_F(LocalStudies, AreCountedInTheIndexWhenTheQuestionComes)
{
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));
    load();
    ASSERT_EQ(row("1").syncStateDisplay, QStringLiteral("Synced"));
    model.setSelectedIDs({QStringLiteral("1"), QStringLiteral("2")});

    import("2", "2.1", "2.1.9");
    askAndAwait(DeleteConfirmationStep::first);

    EXPECT_EQ(row("2").syncStateDisplay, QStringLiteral("Synced")) << "as the table knows it";
    EXPECT_EQ(model.toldOutsideCloud(), (OutsideCloudCount{1, 1}));
}

TEST_F(LocalStudies, AreAskedAboutAgainWhenImagesComeWhileTheLastQuestionStands)
{
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));
    load();
    model.setSelectedIDs({QStringLiteral("1"), QStringLiteral("2")});
    askAndAwait(DeleteConfirmationStep::third);
    EXPECT_EQ(model.toldOutsideCloud(), OutsideCloudCount());

    import("2", "2.1", "2.1.9");
    model.confirmDeletion();
    BrowserWorld::awaitArmed(model, store.clock);

    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::third);
    EXPECT_TRUE(model.isAskedAgain());
    EXPECT_EQ(model.toldOutsideCloud(), (OutsideCloudCount{1, 1}));
    EXPECT_EQ(index.deletions, 0);
    EXPECT_EQ(storedFiles(), 4);
    model.confirmDeletion();
    runUntil([&] { return model.allRows().empty() && !model.isDeleting(); });
    EXPECT_EQ(storedFiles(), 0) << "said again, it is done";
}

TEST_F(LocalStudies, TakeTheQuestionAboutThemAlongWhenTheyGo)
{
    load();
    model.setSelectedIDs({QStringLiteral("1"), QStringLiteral("2")});
    askAndAwait(DeleteConfirmationStep::second);

    index.deleteStudies({QStringLiteral("1")}, std::nullopt); // by somebody else
    load();

    EXPECT_FALSE(model.deleteConfirmationStep()) << "it speaks of two";
    EXPECT_EQ(model.selectedIDs(), QSet{QStringLiteral("2")});
    askAndAwait(DeleteConfirmationStep::first);
    load();
    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::first) << "nothing went";
}

TEST_F(LocalStudies, StayWhenImagesComeWhileOthersAreDeleted)
{
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));
    load();
    index.hold(true);
    const auto deletion =
        model.deleteTargets({QStringLiteral("1"), QStringLiteral("2")}, 2, ::gateway::index::OutsideCloud());
    runUntil([&] { return index.deletions == 1; });

    import("2", "2.1", "2.1.9");
    index.hold(false);
    finish(deletion);

    EXPECT_EQ(model.lastError(), QStringLiteral("Deleted 1 of 2 selected studies. 1 failed."));
    EXPECT_EQ(storedFiles(), 3);
}

TEST_F(LocalStudies, StayWhereNobodyCanTellWhatWouldBeLost)
{
    load();
    model.setSelectedIDs({QStringLiteral("1")});
    index.isReadable = false;

    model.askToDelete();
    runUntil([&] { return model.lastError().has_value(); });

    EXPECT_FALSE(model.deleteConfirmationStep());
    EXPECT_EQ(model.lastError(), unknownOutsideCloudWords());
    index.isReadable = true;
    askAndAwait(DeleteConfirmationStep::first);
}

TEST_F(LocalStudies, WithFailuresCanBeShownAlone)
{
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 2 WHERE sopInstanceUID LIKE '2.2.1%'"));
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 3 WHERE sopInstanceUID LIKE '2.1.1%'"));
    load();

    model.setShowsFailuresOnly(true);

    ASSERT_EQ(model.shown().size(), 1U);
    EXPECT_EQ(model.allRows()[model.shown().front()].id, QStringLiteral("2"));
    EXPECT_EQ(row("2").syncStateDisplay, QStringLiteral("Syncing"))
        << "others of its images are on their way";
    model.setShowsFailuresOnly(false);
    EXPECT_EQ(model.shown().size(), 2U);
}

TEST_F(LocalStudies, TellWhyTheirUploadsFailed)
{
    const QString path = store.rows(QStringLiteral("SELECT pathString FROM DicomImage ORDER BY pk")).first();
    store.index().recordUploadResult(
        {}, path, false, {.failure = index::FailedUpload{.failureClass = QStringLiteral("storageUsedUp")}});

    load();

    const QString &why = row("1").furtherText(QuorinGatewayLocalStudyRow::syncStateColumn);
    EXPECT_EQ(why, QStringLiteral("Files: 1. ") + core::failureSentence(core::FailureClass::storageUsedUp));
    EXPECT_TRUE(row("1").hasFailures());
    EXPECT_TRUE(row("2").failures.isEmpty());
}

TEST_F(LocalStudies, FollowTheSyncStates)
{
    load();
    const int before = index.loads;
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));

    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] { return index.loads == before + 1 && !model.isLoading(); });

    EXPECT_EQ(row("1").syncStateDisplay, QStringLiteral("Synced"));
}

TEST_F(LocalStudies, MissNoNewsThatComesWhileTheyLoad)
{
    store.notifications.post(core::kLocalSyncStateChanged);
    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] { return index.loads == 1 && !model.isLoading(); });
    store.clock.waitForSleepers(1);
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1"));
    store.notifications.post(core::kLocalSyncStateChanged);
    QCoreApplication::processEvents();
    EXPECT_EQ(index.loads, 1) << "the machine is left some time between two loads";

    store.clock.advance(LocalTable::kFollowPause);
    runUntil([&] { return index.loads == 2 && !model.isLoading(); });

    EXPECT_EQ(row("1").syncStateDisplay, QStringLiteral("Synced"));
}

TEST_F(LocalStudies, KeepTheirSelectionWhileTheyFollow)
{
    load();
    model.setSelectedIDs({QStringLiteral("1"), QStringLiteral("2")});
    store.index().deleteStudies({QStringLiteral("1")});

    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] { return model.allRows().size() == 1; });

    EXPECT_EQ(model.selectedIDs(), QSet<QString>{QStringLiteral("2")}) << "what is gone isn't selected";
}

TEST_F(LocalStudies, GoWithTheirFilesAndTheCountersFollow)
{
    load();
    model.setSelectedIDs({QStringLiteral("2")});

    askAndAwait(DeleteConfirmationStep::third);
    model.confirmDeletion();
    runUntil([&] { return model.allRows().size() == 1 && !model.isDeleting(); });

    EXPECT_EQ(model.allRows().size(), 1U);
    EXPECT_EQ(storedFiles(), 1);
    EXPECT_EQ(store.removals().size(), 2);
    EXPECT_EQ(refreshed, 1);
    EXPECT_FALSE(model.lastError());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
}

TEST_F(LocalStudies, AreNotLoadedByNewsWhileTheyAreDeleted)
{
    load();
    index.hold(true);
    const int before = index.loads;
    const auto deletion = model.deleteStudies({row("1")});
    runUntil([&] { return index.deletions == 1; });

    store.notifications.post(core::kLocalSyncStateChanged);
    QCoreApplication::processEvents();
    EXPECT_EQ(index.loads, before);
    index.hold(false);
    finish(deletion);

    EXPECT_EQ(index.loads, before + 1) << "the load behind the deletion";
}

TEST_F(LocalStudies, NeedASelectionToBeDeleted)
{
    finish(model.deleteStudies({}));

    EXPECT_EQ(model.lastError(), QStringLiteral("No studies selected for deletion."));
    EXPECT_EQ(index.deletions, 0);
    EXPECT_EQ(index.loads, 0);
}

TEST_F(LocalStudies, ThatCannotBeDeletedStayAndAreToldOf)
{
    load();
    index.stubborn = {QStringLiteral("1")};

    finish(model.deleteStudies({row("1")}));
    EXPECT_EQ(model.lastError(), QStringLiteral("Failed to delete the selected studies."));
    EXPECT_EQ(refreshed, 0) << "nothing was deleted";
    finish(model.deleteStudies({row("1"), row("2")}));

    EXPECT_EQ(model.lastError(), QStringLiteral("Deleted 1 of 2 selected studies. 1 failed."));
    EXPECT_EQ(refreshed, 1);
    EXPECT_EQ(model.allRows().size(), 1U);
}

TEST_F(LocalStudies, KeepTheWordsAboutADeletionWhileTheyFollow)
{
    load();
    index.stubborn = {QStringLiteral("1")};
    finish(model.deleteStudies({row("1")}));
    const int before = index.loads;

    store.notifications.post(core::kLocalSyncStateChanged);
    runUntil([&] { return index.loads == before + 1 && !model.isLoading(); });
    EXPECT_TRUE(model.lastError());
    load();

    EXPECT_FALSE(model.lastError()) << "a person asked for this load";
}

TEST_F(LocalTables, SeriesOfAStudyAreLoadedAndDeleted)
{
    QuorinGatewayLocalStudyTableViewModel studies(parts());
    finish(studies.loadStudies());
    LocalStudySeriesTableViewModel model(
        parts(),
        LocalStudySeriesContext::of(studies.allRows()[*studies.rows()->position(QStringLiteral("2"))]));

    finish(model.loadSeries());
    ASSERT_EQ(model.allRows().size(), 2U);
    EXPECT_EQ(model.sortOrder(), (SortOrder{LocalStudySeriesRow::numberColumn, true}));
    finish(model.deleteSeries({}));
    EXPECT_EQ(model.lastError(), QStringLiteral("No series selected for deletion."));
    index.stubborn = {model.allRows()[0].id};
    finish(model.deleteSeries({model.allRows()[0]}));
    EXPECT_EQ(model.lastError(), QStringLiteral("Failed to delete the selected series."));
    finish(model.deleteSeries({model.allRows()[0], model.allRows()[1]}));

    EXPECT_EQ(model.lastError(), QStringLiteral("Deleted 1 of 2 selected series. 1 failed."));
    EXPECT_EQ(model.allRows().size(), 1U);
    EXPECT_EQ(storedFiles(), 2);
}

} // namespace gateway::browser::testing
