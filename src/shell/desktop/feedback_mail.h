#pragma once

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace gateway::shell {

/// Where the support address stands in the user's defaults; a draft without it has no recipient.
inline const QString kSupportEmailKey = QStringLiteral("QuorinGateway.supportEmail");

/// The draft of a mail to support, for the desktop's mail program: a subject, and nothing in it.
QUrl feedbackMail(const QString &supportAddress);

} // namespace gateway::shell
