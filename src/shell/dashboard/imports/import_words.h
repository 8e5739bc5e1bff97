#pragma once

#include "receive/manual_import_report.h"
#include "shell/theme/tokens.h"

#include <QtCore/QStringList>

namespace gateway::shell {

// A batch of a manual import in words. Thread: any.

/// How far it is, such as "1,204 of 3,000 files · 38.2 MB/s · 2 min left".
QString importProgressText(const receive::ManualImportReport &report);

/// What became of a batch that has ended, in one line.
QString importOutcomeText(const receive::ManualImportReport &report);

/// The colour of that line: what may have lost an image needs a look.
Color importOutcomeColor(const receive::ManualImportReport &report);

/// What was passed over and why, a line for each reason, such as "12 can't be read: /media/usb/A, …".
QStringList importSkipTexts(const receive::ManualImportReport &report);

} // namespace gateway::shell
