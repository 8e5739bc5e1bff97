#include "monitor/process_figures.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QList>

#include <unistd.h>

namespace gateway::monitor {

namespace {

// Of the fields of /proc/self/stat that stand behind the program's name.
constexpr qsizetype kUserTicks = 11;
constexpr qsizetype kSystemTicks = 12;
constexpr qsizetype kStartTicks = 19;
constexpr qsizetype kResidentPages = 21;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// When the machine was started, in seconds since 1970.
double bootTime()
{
    for (const QByteArray &line : contentOf(QStringLiteral("/proc/stat")).split('\n')) {
        if (line.startsWith("btime ")) {
            return line.mid(6).toDouble();
        }
    }
    return 0;
}

} // namespace

ProcessFigures readProcessFigures()
{
    const QByteArray stat = contentOf(QStringLiteral("/proc/self/stat"));
    // The name may hold blanks and parentheses itself; the last one ends it.
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(") ") + 2).split(' ');
    if (fields.size() <= kResidentPages) {
        return {};
    }
    const auto ticksPerSecond = static_cast<double>(::sysconf(_SC_CLK_TCK));
    ProcessFigures figures;
    figures.cpuSeconds =
        (fields.at(kUserTicks).toDouble() + fields.at(kSystemTicks).toDouble()) / ticksPerSecond;
    figures.residentBytes = fields.at(kResidentPages).toLongLong() * ::sysconf(_SC_PAGESIZE);
    figures.startedAt = bootTime() + fields.at(kStartTicks).toDouble() / ticksPerSecond;
    figures.openFiles =
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System | QDir::AllEntries).size();
    return figures;
}

} // namespace gateway::monitor
