#include "log/browsing/log_filter.h"
#include "log/browsing/log_row_reader.h"
#include "log/browsing/log_rows.h"
#include "log/writing/log_line.h"
#include "log/writing/redaction.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

// What the log browser costs: a folder of log lines is opened, filtered in several ways, read again with
// nothing new and with one line more, and rows are taken back from the files as a screen would. The lines are
// those of images that were received, imported and sent; the files are as large as the logger makes them.

namespace {

using namespace gateway::log;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// What this process has spent of the processors, which the load of other programs changes little.
double processorMilliseconds()
{
    timespec spent = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

/// Memory of this process that lies in RAM, in MiB.
double residentMiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::strtod(line.c_str() + 6, nullptr) / 1024;
        }
    }
    return 0;
}

/// Writes lines into files of the logger's size.
class Folder
{
public:
    explicit Folder(QString path) : m_path(std::move(path)) { QDir().mkpath(m_path); }

    void write(const GatewayLogEvent &event)
    {
        const QByteArray line = encodeLogLine(event) + '\n';
        if (!m_file.isOpen() || m_file.size() + line.size() > 5'242'880) {
            m_file.close();
            m_file.setFileName(QStringLiteral("%1/gateway-transfer-20260101-%2-%3.jsonl")
                                   .arg(m_path)
                                   .arg(++m_files, 6, 10, QLatin1Char('0'))
                                   .arg(newUuidText().first(8)));
            if (!m_file.open(QIODevice::WriteOnly)) {
                std::exit(EXIT_FAILURE);
            }
        }
        m_bytes += m_file.write(line);
    }

    void flush() { m_file.flush(); }
    qint64 bytes() const { return m_bytes; }
    int files() const { return m_files; }

private:
    QString m_path;
    QFile m_file;
    int m_files = 0;
    qint64 m_bytes = 0;
};

using Details = QMap<QString, QString>;

/// The life of one image in eight lines.
std::vector<GatewayLogEvent> eventsOfImage(int image, const QDateTime &time, const QString &runId)
{
    const Details importing = {{QStringLiteral("source"), QStringLiteral("dimse")},
                               {QStringLiteral("association_files"), QString::number(image % 100)}};
    const Details sending = {{QStringLiteral("execution_mode"), QStringLiteral("parallel_file")},
                             {QStringLiteral("batch_enabled"), QStringLiteral("true")},
                             {QStringLiteral("batch_size"), QStringLiteral("2")},
                             {QStringLiteral("max_concurrent"), QStringLiteral("2")},
                             {QStringLiteral("compression_enabled"), QStringLiteral("true")},
                             {QStringLiteral("linked_images"), QStringLiteral("1")}};
    using enum GatewayLogAction;
    const std::vector<std::pair<GatewayLogAction, GatewayLogOutcome>> steps = {
        {fileReceivedCallback, GatewayLogOutcome::started},
        {importAttempted, GatewayLogOutcome::started},
        {importSucceeded, GatewayLogOutcome::succeeded},
        {incomingFileDeleted, GatewayLogOutcome::completed},
        {uploadCandidateSelected, GatewayLogOutcome::queued},
        {uploadAttemptStarted, GatewayLogOutcome::started},
        {uploadAttemptSucceeded, GatewayLogOutcome::succeeded},
        {uploadResultRecorded, GatewayLogOutcome::completed}};
    const std::optional<QString> assoc = hashedIdentifier(QString::number(image / 100));
    const std::optional<QString> received = hashedIdentifier(QStringLiteral("in/%1").arg(image));
    const std::optional<QString> stored = hashedIdentifier(QStringLiteral("store/%1").arg(image));
    std::vector<GatewayLogEvent> events;
    for (std::size_t step = 0; step < steps.size(); ++step) {
        const bool isSend = step >= 4;
        GatewayLogEvent event;
        event.eventId = newUuidText();
        event.timestamp = time;
        event.level = step == 5 && image % 500 == 0 ? GatewayLogLevel::warning : GatewayLogLevel::info;
        event.category = isSend ? GatewayLogCategory::send : GatewayLogCategory::receive;
        event.action = steps[step].first;
        event.outcome = steps[step].second;
        event.correlationId = isSend ? std::optional(runId) : std::nullopt;
        event.assocHash = isSend ? std::nullopt : assoc;
        event.fileHash = isSend ? stored : received;
        event.fileSizeBytes = 526'000 + image;
        event.attempt = isSend ? std::optional<qint64>(1) : std::nullopt;
        event.details = isSend ? sending : importing;
        events.push_back(event);
    }
    return events;
}

void writeLines(Folder &folder, int count)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(6, 0), Qt::UTC);
    QString runId;
    for (int image = 0; image * 8 < count; ++image) {
        if (image % 200 == 0) {
            runId = newUuidText();
        }
        for (const GatewayLogEvent &event : eventsOfImage(image, start.addMSecs(image * 20), runId)) {
            folder.write(event);
        }
    }
    folder.flush();
}

constexpr int kRounds = 5;

/// Filters some times and prints the median, the mean of the processor's time, and how many rows came
/// through.
void measureFilter(const char *what, const std::shared_ptr<const LogRows> &rows, const LogFilter &filter)
{
    std::vector<double> times;
    qsizetype count = 0;
    const double processorBefore = processorMilliseconds();
    for (int round = 0; round < kRounds; ++round) {
        const auto before = Clock::now();
        count = filterLogRows(rows, filter).count();
        times.push_back(milliseconds(Clock::now() - before));
    }
    const double processor = (processorMilliseconds() - processorBefore) / kRounds;
    std::sort(times.begin(), times.end());
    std::printf("filter %s: %.1f ms, %.1f ms of processor, %lld rows\n",
                what,
                times[kRounds / 2],
                processor,
                static_cast<long long>(count));
}

void measureFilters(const std::shared_ptr<const LogRows> &rows)
{
    const auto searching = [](const QString &text) {
        return LogFilter{LevelFilter::all, CategoryFilter::all, text};
    };
    const QString hash = *hashedIdentifier(QStringLiteral("store/4711"));
    measureFilter("nothing", rows, {});
    measureFilter("by level", rows, {LevelFilter::warning, CategoryFilter::all, {}});
    measureFilter("by a hash", rows, searching(hash));
    measureFilter("by three digits", rows, searching(hash.left(3)));
    measureFilter("by one letter", rows, searching(QStringLiteral("a")));
    measureFilter("by a word in every second row", rows, searching(QStringLiteral("parallel_file")));
    measureFilter("by a word in none", rows, searching(QStringLiteral("nowhere")));
    measureFilter("by three words", rows, searching(QStringLiteral("started send info")));
}

} // namespace

int main(int argc, char **argv)
{
    const int lines = argc > 1 ? std::atoi(argv[1]) : 1'000'000;
    const QTemporaryDir home;
    Folder folder(home.filePath(QStringLiteral("Logs")));
    writeLines(folder, lines);
    std::printf("%d files, %lld MiB\n", folder.files(), static_cast<long long>(folder.bytes() >> 20));

    const double memoryBefore = residentMiB();
    const double processorBefore = processorMilliseconds();
    auto before = Clock::now();
    auto rows = readLogRows(home.filePath(QStringLiteral("Logs")), {}, std::make_shared<const LogRows>(), {});
    std::printf("%lld lines opened: %.0f ms, %.0f ms of processor, %.0f MiB\n",
                static_cast<long long>(rows->count()),
                milliseconds(Clock::now() - before),
                processorMilliseconds() - processorBefore,
                residentMiB() - memoryBefore);
    measureFilters(rows);

    before = Clock::now();
    const bool isSame = readLogRows(rows->directory(), {}, rows, {}) == rows;
    std::printf(
        "read again, %s: %.2f ms\n", isSame ? "unchanged" : "CHANGED", milliseconds(Clock::now() - before));

    folder.write(eventsOfImage(0, QDateTime::currentDateTimeUtc(), newUuidText()).front());
    folder.flush();
    before = Clock::now();
    const auto grown = readLogRows(rows->directory(), {}, rows, {});
    std::printf("read again, %lld more: %.1f ms\n",
                static_cast<long long>(grown->count() - rows->count()),
                milliseconds(Clock::now() - before));

    LogRowReader reader(rows);
    constexpr qsizetype kShown = 1000;
    before = Clock::now();
    for (qsizetype row = 0; row < kShown; ++row) {
        if (!reader.row(row * (rows->count() / kShown))) {
            return EXIT_FAILURE;
        }
    }
    std::printf("one row read back: %.2f us\n", milliseconds(Clock::now() - before) * 1000 / kShown);
    return EXIT_SUCCESS;
}
