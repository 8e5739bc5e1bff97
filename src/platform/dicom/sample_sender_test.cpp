#include "platform/dicom/sample_sender.h"

#include "platform/concurrency/clock.h"
#include "platform/dicom/dicom_file.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/testing/identities.h"
#include "platform/dicom/testing/running_store_scp.h"
#include "platform/dicom/worker_process_pool.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {
namespace {

const InstanceIdentity kIdentity = testing::identity("2.25.1.1", "2.25.1.2", "2.25.1.3");
const QDateTime kMadeAt(QDate(2026, 2, 3), QTime(4, 5, 6), Qt::UTC);

SampleDestination listenerAt(int port)
{
    return {QStringLiteral("127.0.0.1"), port, QStringLiteral("QUORIN"), QStringLiteral("QUORIN_TEST")};
}

TEST(SampleSender, StoresAWholeImageWithAListener)
{
    const QTemporaryDir inbox;
    testing::RunningStoreSCP listener(inbox.path());

    const SampleOutcome outcome =
        sendSample(helperProgramPath(), listenerAt(listener.port()), kIdentity, kMadeAt);

    EXPECT_EQ(outcome, (SampleOutcome{SampleOutcome::Kind::stored, 0}));
    const QStringList stored = listener.await(QStringLiteral("progress"));
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(listener.await(QStringLiteral("complete")).size(), 1); // it was taken leave of

    SystemClock clock;
    WorkerProcessPool workers(1, helperProgramPath());
    DicomFile parser(workers, clock);
    const ParsedFile parsed = parser.parse(stored.first().mid(QStringLiteral("progress ").size()));
    ASSERT_EQ(parsed.fate, ParsedFile::Fate::parsed);
    EXPECT_EQ(parsed.elements.value(QStringLiteral("studyID")), kIdentity.study.value());
    EXPECT_EQ(parsed.elements.value(QStringLiteral("SOPUID")), kIdentity.instance.value());
    EXPECT_EQ(parsed.elements.value(QStringLiteral("studyDate")).toDateTime().date(), kMadeAt.date());
    EXPECT_FALSE(parsed.elements.contains(QStringLiteral("damaged")));
}

TEST(SampleSender, TellsThatNobodyListens)
{
    const QTemporaryDir inbox;
    int port = 0;
    {
        testing::RunningStoreSCP listener(inbox.path());
        port = listener.port();
    }

    EXPECT_EQ(sendSample(helperProgramPath(), listenerAt(port), kIdentity, kMadeAt).kind,
              SampleOutcome::Kind::unreachable);
}

TEST(SampleSender, TellsWhatTheListenerAnswered)
{
    const QTemporaryDir inbox;
    constexpr qint64 kMoreThanAnyDisk = qint64{1} << 60;
    testing::RunningStoreSCP listener(inbox.path(), std::chrono::seconds(30), kMoreThanAnyDisk);

    EXPECT_EQ(sendSample(helperProgramPath(), listenerAt(listener.port()), kIdentity, kMadeAt),
              (SampleOutcome{SampleOutcome::Kind::failed, 0xA700}));
}

TEST(SampleSender, TellsThatTheHelperIsNotThere)
{
    EXPECT_EQ(sendSample(QStringLiteral("/nowhere/quorin-dicom"), listenerAt(1), kIdentity, kMadeAt).kind,
              SampleOutcome::Kind::unavailable);
}

} // namespace
} // namespace gateway::platform
