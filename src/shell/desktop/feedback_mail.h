#pragma once

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace gateway::shell {

/// The draft of a mail to support, for the desktop's mail program: a subject, and nothing in it.
///
/// \param supportAddress  may be empty; the draft has no recipient then.
QUrl feedbackMail(const QString &supportAddress);

} // namespace gateway::shell
