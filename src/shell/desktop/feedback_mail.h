#pragma once

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace gateway::shell {

/// The draft of a mail to support, for the desktop's mail program: a subject, and nothing in it.
QUrl feedbackMail(const QString &supportAddress);

/// The same for a report of a problem, which is its text.
QUrl bugReportMail(const QString &supportAddress, const QString &description);

} // namespace gateway::shell
