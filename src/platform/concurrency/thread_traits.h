#pragma once

#include <QtCore/QString>

namespace gateway::platform {

/// Names the calling thread for `ps`, debuggers and core files; Linux keeps the first 15 bytes.
void nameThisThread(const QString &name);

/// Sets how ready the calling thread is to yield the processor, as a nice value; a refusal is no failure.
void setThisThreadNice(int nice);

} // namespace gateway::platform
