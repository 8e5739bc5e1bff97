#include "monitor/process_figures.h"

#include <QtCore/QDateTime>
#include <QtCore/QTemporaryFile>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

TEST(ProcessFigures, AreThoseOfALivingProcess)
{
    const ProcessFigures figures = readProcessFigures();

    EXPECT_GT(figures.residentBytes, 1'000'000);
    EXPECT_GT(figures.openFiles, 2);
    EXPECT_GE(figures.cpuSeconds, 0);
    EXPECT_GT(figures.startedAt, 1'000'000'000);
    EXPECT_LE(figures.startedAt, static_cast<double>(QDateTime::currentSecsSinceEpoch()) + 2);
}

TEST(ProcessFigures, CountEveryOpenFile)
{
    const qint64 before = readProcessFigures().openFiles;
    QTemporaryFile one;
    QTemporaryFile other;
    ASSERT_TRUE(one.open() && other.open());

    EXPECT_EQ(readProcessFigures().openFiles, before + 2);
}

} // namespace
} // namespace gateway::monitor
