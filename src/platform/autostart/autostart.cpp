#include "platform/autostart/autostart.h"

#include "platform/files/files.h"

#include <QtCore/QFile>

#include <utility>

#include <cerrno>

namespace gateway::platform {

namespace {

/// Whether desktop or user turned the entry off by this line.
bool saysNo(const QByteArray &line)
{
    return line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false";
}

QString quoted(const QString &argument)
{
    QString text = argument;
    // Within quotes a backslash stands before these four; field codes begin with "%".
    for (const QChar special : QStringLiteral("\\\"`$")) {
        text.replace(special, QStringLiteral("\\") + special);
    }
    text.replace(u'%', QStringLiteral("%%"));
    return u'"' + text + u'"';
}

} // namespace

QString desktopExec(const QStringList &command)
{
    QStringList arguments;
    for (const QString &argument : command) {
        arguments.append(quoted(argument));
    }
    // The value is read as a string first, which takes one of two backslashes away.
    return arguments.join(u' ').replace(u'\\', QStringLiteral("\\\\"));
}

Autostart::Autostart(const QString &configFolder, Entry entry)
    : m_folder(configFolder + QStringLiteral("/autostart")), m_entry(std::move(entry)),
      m_path(m_folder + u'/' + m_entry.id + QStringLiteral(".desktop"))
{
}

bool Autostart::isEnabled() const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    while (!file.atEnd()) {
        if (saysNo(file.readLine().trimmed())) {
            return false;
        }
    }
    return true;
}

void Autostart::setEnabled(bool enabled)
{
    if (enabled) {
        const QString text = QStringLiteral("[Desktop Entry]\n"
                                            "Type=Application\n"
                                            "Name=%1\n"
                                            "Icon=%2\n"
                                            "Exec=%3\n")
                                 .arg(m_entry.name, m_entry.id, desktopExec(m_entry.command));
        makeFoldersDurably(m_folder);
        writeFileDurably(m_path, text.toUtf8());
        return;
    }
    try {
        systemFiles().remove(m_path);
    } catch (const FileError &error) {
        if (error.code() != ENOENT) {
            throw;
        }
    }
}

} // namespace gateway::platform
