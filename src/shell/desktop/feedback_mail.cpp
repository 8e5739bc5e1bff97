#include "shell/desktop/feedback_mail.h"

#include <QtCore/QUrlQuery>

namespace gateway::shell {

QUrl feedbackMail(const QString &supportAddress)
{
    QUrl mail;
    mail.setScheme(QStringLiteral("mailto"));
    mail.setPath(supportAddress.trimmed());
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Quorin Gateway Feedback"));
    mail.setQuery(query);
    return mail;
}

} // namespace gateway::shell
