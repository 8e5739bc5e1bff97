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
    return sampleOfStudy(kSampleRoot + QString::number(number) + kStudyEnd);
}

platform::InstanceIdentity sampleOfStudy(const QString &study)
{
    const QString stem = study.chopped(kStudyEnd.size());
    return {study, stem + kSeriesEnd, stem + kInstanceEnd};
}

bool isSampleStudy(const QString &study)
{
    return study.startsWith(kSampleRoot) && study.endsWith(kStudyEnd);
}

} // namespace gateway::wizard
