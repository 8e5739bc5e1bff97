#pragma once

#include <QtCore/QString>

#include <optional>

namespace gateway::app {

/// The data dictionary that was installed with this program, `share/quorin-gateway/dicom.dic` beside its
/// `bin`; nothing where there is none, and the toolkit's own is used. Thread: any.
std::optional<QString> installedDicomDictionary();

/// Names the dictionary to the DICOM programs that are started from now on, in the environment variable
/// DCMDICTPATH; an empty path leaves them to their own. Main thread, while no other thread reads the
/// environment.
void announceDicomDictionary(const QString &path);

} // namespace gateway::app
