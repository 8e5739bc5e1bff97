#include "wizard/sample.h"

#include <QtCore/QRandomGenerator>

namespace gateway::wizard {

namespace {

const QString kStudyEnd = QStringLiteral(".1");
const QString kSeriesEnd = QStringLiteral(".2");
const QString kInstanceEnd = QStringLiteral(".3");

constexpr quint64 kNumbers = 1'000'000'000'000'000; // with its ends a UID has 62 of its 64 characters

} // namespace

platform::InstanceIdentity newSample()
{
    const quint64 number = QRandomGenerator::system()->generate64() % kNumbers;
    return sampleOfStudy(platform::StudyUid(kSampleRoot + QString::number(number) + kStudyEnd));
}

platform::InstanceIdentity sampleOfStudy(const platform::StudyUid &study)
{
    const QString stem = study.value().chopped(kStudyEnd.size());
    return {study, platform::SeriesUid(stem + kSeriesEnd), platform::InstanceUid(stem + kInstanceEnd)};
}

bool isSampleStudy(const platform::StudyUid &study)
{
    return study.value().startsWith(kSampleRoot) && study.value().endsWith(kStudyEnd);
}

} // namespace gateway::wizard
