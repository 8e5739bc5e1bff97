#include "shell/notifying/freedesktop_messages.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtDBus/QDBusMessage>

namespace gateway::shell {

void FreedesktopMessages::show(const QString &title, const QString &body)
{
    if (!m_session.isConnected()) {
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                                       QStringLiteral("/org/freedesktop/Notifications"),
                                                       QStringLiteral("org.freedesktop.Notifications"),
                                                       QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("com.ovelt.QuorinGateway")}};
    const uint replaces = 0;
    const int lifetime = -1; // as the desktop likes
    call << QStringLiteral("Quorin Gateway") << replaces << QStringLiteral("com.ovelt.QuorinGateway") << title
         << body.toHtmlEscaped() << QStringList() << hints << lifetime;
    m_session.send(call); // nobody waits for the answer
}

} // namespace gateway::shell
