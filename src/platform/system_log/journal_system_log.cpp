#include "platform/system_log/journal_system_log.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

#define SD_JOURNAL_SUPPRESS_LOCATION // the file and line of this room would tell nobody anything
#include <systemd/sd-journal.h>

#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <array>

namespace gateway::platform {

namespace {

/// The journal's own interface says "done" also where no journal runs, so its socket is looked for.
std::optional<JournalSystemLog::Send> journalOfThisMachine()
{
    if (::access("/run/systemd/journal/socket", W_OK) != 0) {
        return std::nullopt;
    }
    return [](const iovec *fields, int count) { return sd_journal_sendv(fields, count); };
}

int priorityOf(SystemLogLevel level)
{
    switch (level) {
    case SystemLogLevel::debug:
        return LOG_DEBUG;
    case SystemLogLevel::info:
        return LOG_INFO;
    case SystemLogLevel::error:
        return LOG_ERR;
    }
    return LOG_ERR;
}

const char *wordOf(SystemLogLevel level)
{
    switch (level) {
    case SystemLogLevel::debug:
        return "debug";
    case SystemLogLevel::info:
        return "info";
    case SystemLogLevel::error:
        return "error";
    }
    return "error";
}

iovec fieldOf(QByteArray &bytes)
{
    return {bytes.data(), static_cast<std::size_t>(bytes.size())};
}

/// One line whatever the text holds, so that no message can pass for two.
QByteArray lineOf(SystemLogLevel level, const QString &subsystem, const QString &category, QString message)
{
    for (QChar &character : message) {
        if (character.category() == QChar::Other_Control) {
            character = u' ';
        }
    }
    return QStringLiteral("%1 %2 [%3] %4: %5\n")
        .arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs),
             subsystem,
             category,
             QString::fromLatin1(wordOf(level)),
             message)
        .toUtf8();
}

} // namespace

JournalSystemLog::JournalSystemLog() : JournalSystemLog(journalOfThisMachine(), STDERR_FILENO) {}

JournalSystemLog::JournalSystemLog(std::optional<Send> journal, int descriptor)
    : m_journal(std::move(journal)), m_descriptor(descriptor)
{
}

void JournalSystemLog::write(SystemLogLevel level, QString subsystem, QString category, QString message)
{
    if (!enabled(level) || sendToJournal(level, subsystem, category, message)) {
        return;
    }
    const QByteArray line = lineOf(level, subsystem, category, std::move(message));
    // One call, so that lines of several threads don't mix; a failure has nowhere to be told.
    static_cast<void>(::write(m_descriptor, line.constData(), static_cast<std::size_t>(line.size())));
}

bool JournalSystemLog::enabled(SystemLogLevel level) const
{
    return m_journal.has_value() || level != SystemLogLevel::debug;
}

bool JournalSystemLog::sendToJournal(SystemLogLevel level,
                                     const QString &subsystem,
                                     const QString &category,
                                     const QString &message) const
{
    if (!m_journal) {
        return false;
    }
    QByteArray priority = "PRIORITY=" + QByteArray::number(priorityOf(level));
    QByteArray text = "MESSAGE=" + message.toUtf8();
    QByteArray program = "QUORIN_SUBSYSTEM=" + subsystem.toUtf8();
    QByteArray part = "QUORIN_CATEGORY=" + category.toUtf8();
    const std::array<iovec, 4> fields{fieldOf(priority), fieldOf(text), fieldOf(program), fieldOf(part)};
    return (*m_journal)(fields.data(), static_cast<int>(fields.size())) >= 0;
}

} // namespace gateway::platform
