#include "wizard/sample_notes.h"

#include "wizard/sample.h"

#include <algorithm>

namespace gateway::wizard {

namespace {

const QString kKey = QStringLiteral("SetupTrial.samples");

} // namespace

QStringList SampleNotes::studies() const
{
    QStringList kept =
        m_defaults.object(kKey).value_or(QVariant()).toString().split(u' ', Qt::SkipEmptyParts);
    const auto foreign =
        std::remove_if(kept.begin(), kept.end(), [](const QString &study) { return !isSampleStudy(study); });
    kept.erase(foreign, kept.end()); // what is noted is deleted: nothing else may come in here
    return kept;
}

bool SampleNotes::add(const QString &study)
{
    return m_defaults.setObject(kKey, (studies() << study).join(u' '));
}

void SampleNotes::remove(const QString &study)
{
    QStringList left = studies();
    left.removeAll(study);
    m_defaults.setObject(kKey, left.isEmpty() ? QVariant() : QVariant(left.join(u' ')));
}

} // namespace gateway::wizard
