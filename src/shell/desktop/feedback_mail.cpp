#include "shell/desktop/feedback_mail.h"

#include <QtCore/QUrlQuery>

namespace gateway::shell {

namespace {

QUrl draft(const QString &address, const QUrlQuery &query)
{
    QUrl mail;
    mail.setScheme(QStringLiteral("mailto"));
    mail.setPath(address);
    mail.setQuery(query);
    return mail;
}

} // namespace

QUrl feedbackMail(const QString &supportAddress)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Quorin Gateway Feedback"));
    return draft(supportAddress, query);
}

QUrl bugReportMail(const QString &supportAddress, const QString &description)
{
    // Whatever a query could take for its own is encoded: nothing that was typed adds another field.
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Quorin Gateway Bug Report"));
    query.addQueryItem(QStringLiteral("body"), QString::fromLatin1(QUrl::toPercentEncoding(description)));
    return draft(supportAddress, query);
}

} // namespace gateway::shell
