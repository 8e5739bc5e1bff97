#pragma once

#include "log/writing/gateway_log_event.h"
#include "log/writing/log_line.h"
#include "log/writing/redaction.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <cstdlib>

namespace gateway::log::testing {

/// An event at a number of seconds after the morning of a certain day; the rest is for the test to change.
inline GatewayLogEvent eventAt(int second)
{
    GatewayLogEvent event;
    event.eventId = newUuidText();
    event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(8, 0), Qt::UTC).addSecs(second);
    return event;
}

/// A log folder of its own, with files whose content and age the test chooses.
///
/// Thread: one at a time.
class LogFolder
{
public:
    explicit LogFolder(const QString &name = QStringLiteral("Logs")) : m_path(m_home.filePath(name))
    {
        QDir().mkpath(m_path);
    }

    const QString &path() const { return m_path; }
    QString filePath(const QString &name) const { return m_path + u'/' + name; }

    QStringList names() const
    {
        return QDir(m_path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// Puts bytes behind those of the file, which is made where it is missing.
    void append(const QString &name, const QByteArray &bytes) const
    {
        put(name, bytes, QIODevice::WriteOnly | QIODevice::Append);
    }

    /// Writes the file anew, in its place.
    void overwrite(const QString &name, const QByteArray &bytes) const
    {
        put(name, bytes, QIODevice::WriteOnly | QIODevice::Truncate);
    }

    /// Appends one event as a line.
    void append(const QString &name, const GatewayLogEvent &event) const
    {
        append(name, encodeLogLine(event) + '\n');
    }

    /// Makes the file as old as if it had last been written `second` seconds after the morning.
    void date(const QString &name, int second) const
    {
        QFile file(filePath(name));
        if (!file.open(QIODevice::ReadWrite) ||
            !file.setFileTime(eventAt(second).timestamp, QFileDevice::FileModificationTime)) {
            std::abort();
        }
    }

private:
    void put(const QString &name, const QByteArray &bytes, QIODevice::OpenMode mode) const
    {
        QFile file(filePath(name));
        if (!file.open(mode) || file.write(bytes) != bytes.size()) {
            std::abort();
        }
    }

    QTemporaryDir m_home;
    QString m_path;
};

} // namespace gateway::log::testing
