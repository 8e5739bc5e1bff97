#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QString>

namespace gateway::wizard {

/// What all samples of all gateways are called begins with this: derived from a UUID (PS3.5 B.2).
inline const QString kSampleRoot = QStringLiteral("2.25.327607581301111544883182703637053935784.");

/// A sample that nobody has sent before.
platform::InstanceIdentity newSample();

/// The sample of this study, which `newSample` made.
platform::InstanceIdentity sampleOfStudy(const platform::StudyUid &study);

/// Whether the study is a sample's.
bool isSampleStudy(const platform::StudyUid &study);

} // namespace gateway::wizard
