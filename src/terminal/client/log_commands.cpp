#include "terminal/client/log_commands.h"

#include "log/browsing/image_trail.h"
#include "log/browsing/log_rows.h"
#include "platform/files/file_error.h"
#include "platform/process/quit_signals.h"
#include "terminal/client/console.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

namespace gateway::terminal {

namespace {

/// As often as the log screen refreshes at most.
constexpr std::chrono::seconds kFollowInterval{1};

/// Lines that are written together.
constexpr qsizetype kBatchBytes = 65'536;

constexpr int kLevelWidth = 7;
constexpr int kCategoryWidth = 11;

/// Control characters and invisible marks could make a terminal show something else than what is there.
QString harmless(QString text)
{
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control || character.category() == QChar::Other_Format) {
            character = QChar::ReplacementCharacter;
        }
    }
    return text;
}

template <typename Value>
void appendNumber(QStringList &pieces, const QString &key, const std::optional<Value> &number)
{
    if (number) {
        pieces.append(key + QString::number(*number));
    }
}

void appendText(QStringList &pieces, const QString &key, const std::optional<QString> &text)
{
    if (text) {
        pieces.append(key + *text);
    }
}

/// Takes the words of the command line; nothing, with the reason said, where one of them is unknown.
std::optional<log::LogFilter> filterOf(const LogsCommand &command)
{
    const auto level = log::levelFilter(command.level);
    if (!level) {
        printError(
            QStringLiteral("There is no level \"%1\": --level takes all, debug, info, warning or error.")
                .arg(command.level));
        return std::nullopt;
    }
    const auto category = log::categoryFilter(command.category);
    if (!category) {
        printError(
            QStringLiteral("There is no category \"%1\": --category takes all, listener, receive, send, "
                           "uploadQueue or quorinCloud.")
                .arg(command.category));
        return std::nullopt;
    }
    if (command.imageHash && !log::isLogHash(*command.imageHash)) {
        printError(
            QStringLiteral("\"%1\" is no hash: --image takes the 16 digits of a fileHash or an assocHash.")
                .arg(*command.imageHash));
        return std::nullopt;
    }
    return log::LogFilter{*level,
                          *category,
                          command.searchText,
                          command.imageHash ? QStringList(*command.imageHash) : QStringList()};
}

/// As above.
std::optional<LogPrinter::Bounds> boundsOf(const LogsCommand &command)
{
    LogPrinter::Bounds bounds{.newest = command.newest};
    if (!command.since.isEmpty()) {
        const std::optional<QDateTime> since = momentSince(command.since, QDateTime::currentDateTime());
        if (!since) {
            printError(
                QStringLiteral("\"%1\" is no time: --since takes 90m, 12h, 7d, or a local time such as "
                               "2026-01-31T08:00.")
                    .arg(command.since));
            return std::nullopt;
        }
        bounds.fromSecondsSinceEpoch = since->toSecsSinceEpoch();
    }
    return bounds;
}

/// Standard output for as long as somebody reads it.
class Output
{
public:
    bool write(QByteArrayView lines)
    {
        if (m_error == 0) {
            m_error = writeOut(lines);
        }
        return m_error == 0;
    }

    /// The end of the command. A reader who has seen enough is no failure.
    ExitCode end() const
    {
        if (m_error == 0 || m_error == EPIPE) {
            return ExitCode::done;
        }
        printError(platform::FileError("write the log", m_error).message());
        return ExitCode::failed;
    }

private:
    int m_error = 0;
};

/// Prints what is new at each tick until a signal, a failure or the end of the output.
ExitCode
follow(const QString &folder, const log::LogFilter &filter, LogPrinter::Form form, LogPrinter::Bounds bounds)
{
    Output output;
    bool isInterrupted = false;
    const platform::QuitSignals quitSignals([&isInterrupted] {
        isInterrupted = true;
        QCoreApplication::quit();
    });
    const auto write = [&](QByteArrayView lines) {
        // The first print may be long: a signal must be seen meanwhile.
        QCoreApplication::processEvents();
        return !isInterrupted && output.write(lines);
    };
    LogPrinter printer(folder, filter, form, write, bounds);
    ExitCode code = ExitCode::done;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        try {
            if (!outputIsGone() && printer.print()) {
                timer.start(kFollowInterval);
                return;
            }
            code = output.end();
        } catch (const platform::FileError &error) {
            printError(error.message());
            code = ExitCode::failed;
        }
        QCoreApplication::quit();
    });
    timer.start(std::chrono::seconds(0));
    QCoreApplication::exec();
    return code;
}

} // namespace

LogPrinter::LogPrinter(QString folder, log::LogFilter filter, Form form, Write write, Bounds bounds)
    : m_folder(std::move(folder)), m_filter(std::move(filter)), m_form(form), m_write(std::move(write)),
      m_bounds(bounds)
{
}

bool LogPrinter::print()
{
    auto rows = log::readLogRows(m_folder, std::nullopt, m_rows, {});
    if (rows == m_rows) {
        return true;
    }
    m_rows = std::move(rows);
    const log::FilteredLogRows shown = log::filterLogRows(m_rows, m_filter);
    log::LogRowReader reader(m_rows);
    QByteArray lines;
    for (qsizetype index = oldestShown(shown); index >= 0; --index) {
        const qsizetype position = shown.position(index);
        if (m_rows->record(position).secondsSinceEpoch >= m_bounds.fromSecondsSinceEpoch &&
            isNew(m_rows->place(position))) {
            lines += line(reader, position);
        }
        if (lines.size() >= kBatchBytes) {
            if (!m_write(lines)) {
                return false;
            }
            lines.clear();
        }
    }
    notePrinted();
    m_isFirst = false;
    return lines.isEmpty() || m_write(lines);
}

qsizetype LogPrinter::oldestShown(const log::FilteredLogRows &shown) const
{
    return m_isFirst && m_bounds.newest ? std::min<qsizetype>(shown.count(), *m_bounds.newest) - 1
                                        : shown.count() - 1;
}

bool LogPrinter::isNew(const log::LogRows::Place &place) const
{
    const auto printed = m_printed.find(m_rows->file(place).lineage);
    return printed == m_printed.end() || place.record >= printed->second;
}

/// One row's line with its line feed; nothing for a row whose file has gone meanwhile.
QByteArray LogPrinter::line(log::LogRowReader &reader, qsizetype position) const
{
    if (m_form == Form::json) {
        const std::optional<QByteArray> raw = reader.rawLine(position);
        return raw ? *raw + '\n' : QByteArray();
    }
    const std::optional<log::LogRow> row = reader.row(position);
    return row ? logText(*row) : QByteArray();
}

void LogPrinter::notePrinted()
{
    m_printed.clear();
    for (const auto &file : m_rows->files()) {
        m_printed.emplace(file->lineage, file->records.size());
    }
}

std::optional<QDateTime> momentSince(const QString &text, const QDateTime &now)
{
    static const QRegularExpression length(QStringLiteral("^(\\d{1,6})([smhd])$"));
    const QRegularExpressionMatch found = length.match(text.trimmed());
    if (found.hasMatch()) {
        static const QMap<QString, qint64> seconds{{QStringLiteral("s"), 1},
                                                   {QStringLiteral("m"), 60},
                                                   {QStringLiteral("h"), 3600},
                                                   {QStringLiteral("d"), 86'400}};
        return now.addSecs(-found.captured(1).toLongLong() * seconds.value(found.captured(2)));
    }
    const QDateTime moment = QDateTime::fromString(text.trimmed(), Qt::ISODate);
    return moment.isValid() ? std::optional(moment) : std::nullopt;
}

QByteArray logText(const log::LogRow &row)
{
    const log::GatewayLogEvent &event = row.event;
    const QString time =
        QLocale::c().toString(event.timestamp.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QStringList pieces = {time,
                          QString(rawValue(event.level)).leftJustified(kLevelWidth),
                          QString(rawValue(event.category)).leftJustified(kCategoryWidth),
                          rawValue(event.action),
                          rawValue(event.outcome)};
    appendNumber(pieces, QStringLiteral("attempt="), event.attempt);
    appendNumber(pieces, QStringLiteral("fileSizeBytes="), event.fileSizeBytes);
    appendText(pieces, QStringLiteral("correlationId="), event.correlationId);
    appendText(pieces, QStringLiteral("assocHash="), event.assocHash);
    appendText(pieces, QStringLiteral("fileHash="), event.fileHash);
    const QMap<QString, QString> details = event.details.value_or(QMap<QString, QString>());
    for (auto entry = details.begin(); entry != details.end(); ++entry) {
        pieces.append(entry.key() + u'=' + entry.value());
    }
    if (event.error) {
        pieces.append(
            QStringLiteral("error=%1 %2 %3")
                .arg(event.error->domain, QString::number(event.error->code), event.error->message));
    }
    return harmless(pieces.join(u' ')).toUtf8() + '\n';
}

ExitCode showLogs(const QString &logFolder, const LogsCommand &command)
{
    const std::optional<log::LogFilter> filter = filterOf(command);
    if (!filter) {
        return ExitCode::usage;
    }
    const auto form = command.asJson ? LogPrinter::Form::json : LogPrinter::Form::text;
    const std::optional<LogPrinter::Bounds> bounds = boundsOf(command);
    if (!bounds) {
        return ExitCode::usage;
    }
    if (command.follow) {
        return follow(logFolder, *filter, form, *bounds);
    }
    Output output;
    bool isAnythingPrinted = false;
    try {
        const auto write = [&](QByteArrayView lines) {
            isAnythingPrinted = true;
            return output.write(lines);
        };
        LogPrinter(logFolder, *filter, form, write, *bounds).print();
    } catch (const platform::FileError &error) {
        printError(error.message());
        return ExitCode::failed;
    }
    if (command.imageHash && !isAnythingPrinted) {
        printError(QStringLiteral("The log knows no image and no association of the hash \"%1\".")
                       .arg(*command.imageHash));
        return ExitCode::failed;
    }
    return output.end();
}

} // namespace gateway::terminal
