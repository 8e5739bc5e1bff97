#include "upload/failure_figures.h"

#include <gtest/gtest.h>

namespace gateway::upload {
namespace {

TEST(FailureFigures, AreTheMostFrequentWhereThereAreVeryMany)
{
    QList<index::UploadFailureCount> counts;
    for (int code = 0; code < 500; ++code) {
        counts.append({u"refused"_qs, code, 500 - code});
    }

    EXPECT_EQ(failureFigures(counts).size(), 20);
    EXPECT_EQ(failureFigures(counts).first().files, 500);
}

TEST(FailureFigures, LeaveOutWhatTheCloudHasTaken)
{
    const QList<index::UploadFailureCount> counts{{u"notThereYet"_qs, 0, 3}, {u"refused"_qs, 400, 1}};

    EXPECT_EQ(failureFigures(counts), (QList<FailureFigure>{{{core::FailureClass::refused, 400}, 1}}));
    EXPECT_EQ(awaitedFiles(counts), 3);
}

} // namespace
} // namespace gateway::upload
