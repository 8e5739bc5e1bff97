#include "app/storage_meter.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <thread>

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

class Meter : public ::testing::Test
{
protected:
    void write(const QString &name, qsizetype size) const
    {
        QFile file(m_folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(size, 'x')), size);
    }

    void drainUntil(const bool &condition)
    {
        while (!condition) {
            m_main.drain();
            std::this_thread::yield();
        }
    }

    QTemporaryDir m_folder;
    platform::MainExecutor m_main;
};

TEST_F(Meter, CountsRegularFilesInAllFoldersAndNoHiddenOnes)
{
    ASSERT_TRUE(QDir().mkpath(m_folder.filePath(u"10000"_qs)));
    write(u"10000/0.dcm"_qs, 10'000);
    const StorageFigures before = measureStorage(m_folder.path());

    write(u".hidden"_qs, 50'000);
    const StorageFigures after = measureStorage(m_folder.path());

    EXPECT_GE(before.usedBytes, 10'000);
    EXPECT_GT(before.availableBytes, 0);
    EXPECT_EQ(after.usedBytes, before.usedBytes);
}

TEST_F(Meter, CountsNothingWhereThereIsNoFolder)
{
    const StorageFigures figures = measureStorage(m_folder.filePath(u"missing"_qs));

    EXPECT_EQ(figures.usedBytes, 0);
    EXPECT_EQ(figures.availableBytes, 0);
}

TEST_F(Meter, AnswersWithTheFirstFiguresWhenTheyCome)
{
    write(u"a"_qs, 10'000);
    const auto meter = std::make_shared<StorageMeter>(m_folder.path(), m_main);
    bool hasAnswered = false;
    StorageFigures figures;

    meter->measure([&](StorageFigures measured) {
        figures = measured;
        hasAnswered = true;
    });
    EXPECT_FALSE(hasAnswered);
    drainUntil(hasAnswered);

    EXPECT_GE(figures.usedBytes, 10'000);
}

TEST_F(Meter, AnswersAtOnceWithTheLastFiguresAndMeasuresAgain)
{
    const auto meter = std::make_shared<StorageMeter>(m_folder.path(), m_main);
    bool hasAnswered = false;
    meter->measure([&](StorageFigures) { hasAnswered = true; });
    drainUntil(hasAnswered);
    write(u"a"_qs, 10'000);

    qint64 used = -1;
    meter->measure([&](StorageFigures figures) { used = figures.usedBytes; });
    EXPECT_EQ(used, 0);
    while (used == 0) {
        m_main.drain();
        meter->measure([&](StorageFigures figures) { used = figures.usedBytes; });
    }

    EXPECT_GE(used, 10'000);
}

} // namespace
} // namespace gateway::app
