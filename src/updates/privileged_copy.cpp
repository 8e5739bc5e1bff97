#include "updates/privileged_copy.h"

#include <QtCore/QStringList>

namespace gateway::updates {

QString shellQuoted(const QString &text)
{
    QString inside = text;
    inside.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + inside + u'\'';
}

QString privilegedCopyCommand(const QString &source, const QString &destination, const QString &userName)
{
    return QStringList{
        QStringLiteral("/bin/rm -rf ") + shellQuoted(destination),
        QStringLiteral("/usr/bin/ditto ") + shellQuoted(source) + u' ' + shellQuoted(destination),
        QStringLiteral("/usr/sbin/chown -R ") + shellQuoted(userName) + u' ' + shellQuoted(destination)}
        .join(QStringLiteral(" && "));
}

QString privilegedScript(const QString &command)
{
    QString inside = command;
    inside.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
    return QStringLiteral("do shell script \"") + inside + QStringLiteral("\" with administrator privileges");
}

} // namespace gateway::updates
