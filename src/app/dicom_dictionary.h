#pragma once

#include <QtCore/QString>

namespace gateway::app {

/// Names the data dictionary that was installed with this program, `share/quorin-gateway/dicom.dic` beside
/// its `bin`, to the DICOM programs that it starts, in the environment variable DCMDICTPATH. Always, an empty
/// one where none is installed, and the toolkit's own is used then.
///
/// \param programFolder  where this program lies.
/// Main thread, before there is any other: the environment can't be changed under a thread that reads it.
void announceDicomDictionary(const QString &programFolder);

} // namespace gateway::app
