#include "log/writing/gateway_logger.h"
#include "log/writing/log_line.h"
#include "log/writing/redaction.h"
#include "log/writing/store_log_emitter.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

// What logging costs: the caller's time for an event at a steady rate, the writer's pace, and the pace of
// reading the files again. The system log is replaced by one that takes the text and forgets it.

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using gateway::log::GatewayLogFileSink;

class ForgettingSystemLog final : public gateway::platform::SystemLog
{
public:
    void write(gateway::platform::SystemLogLevel, QString, QString, QString) override {}
    bool enabled(gateway::platform::SystemLogLevel) const override { return true; }
};

double microseconds(std::chrono::nanoseconds duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

std::chrono::nanoseconds processorTimeOfThisThread()
{
    timespec spent = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return std::chrono::seconds(spent.tv_sec) + std::chrono::nanoseconds(spent.tv_nsec);
}

gateway::log::StoreLogRecord record(const QUrl &file, const QString &runId)
{
    return {.category = gateway::log::GatewayLogCategory::send,
            .action = gateway::log::GatewayLogAction::uploadAttemptStarted,
            .correlationId = runId,
            .fileURL = file,
            .attempt = 1,
            .details = {{QStringLiteral("execution_mode"), QStringLiteral("parallel_file")},
                        {QStringLiteral("batch_enabled"), QStringLiteral("true")},
                        {QStringLiteral("batch_size"), QStringLiteral("2")},
                        {QStringLiteral("max_concurrent"), QStringLiteral("2")},
                        {QStringLiteral("compression_enabled"), QStringLiteral("true")},
                        {QStringLiteral("upload_source"), QStringLiteral("converted")}}};
}

/// Emits `count` events, one every `interval`, and prints what each cost its caller.
void measureCaller(const QString &folder, std::size_t count, std::chrono::nanoseconds interval)
{
    ForgettingSystemLog systemLog;
    const gateway::platform::SystemClock clock;
    QFile image(folder + QStringLiteral("/image.dcm"));
    if (image.open(QIODevice::WriteOnly)) {
        image.write(QByteArray(1000, 'x'));
        image.close();
    }
    const QUrl file = QUrl::fromLocalFile(image.fileName());
    const QString runId = gateway::log::newUuidText();
    std::vector<std::chrono::nanoseconds> costs;
    costs.reserve(count);
    std::chrono::nanoseconds processor{0};
    const Clock::time_point start = Clock::now();
    Clock::time_point returned;
    {
        gateway::log::GatewayLogger logger(
            systemLog, std::make_unique<GatewayLogFileSink>(folder + QStringLiteral("/Logs"), clock));
        gateway::log::StoreLogEmitter emitter(logger, clock);
        for (std::size_t index = 0; index < count; ++index) {
            std::this_thread::sleep_until(start + interval * static_cast<std::int64_t>(index));
            auto next = record(file, runId);
            const auto processorBefore = processorTimeOfThisThread();
            const Clock::time_point before = Clock::now();
            emitter.emit(std::move(next));
            costs.push_back(Clock::now() - before);
            processor += processorTimeOfThisThread() - processorBefore;
        }
        returned = Clock::now();
    }
    const Clock::time_point written = Clock::now();
    std::sort(costs.begin(), costs.end());
    const double rate = static_cast<double>(count) / std::chrono::duration<double>(returned - start).count();
    std::printf("%zu events at %.0f a second: caller %.2f us median, %.2f us p95, %.2f us p99, %.2f us of "
                "processor; written %.0f ms after the last\n",
                count,
                rate,
                microseconds(costs[count / 2]),
                microseconds(costs[count * 95 / 100]),
                microseconds(costs[count * 99 / 100]),
                microseconds(processor) / static_cast<double>(count),
                microseconds(written - returned) / 1000);
}

/// Writes `count` events straight into a sink, then decodes all files.
void measureFiles(const QString &folder, int count)
{
    const gateway::platform::SystemClock clock;
    gateway::log::GatewayLogEvent event;
    event.eventId = gateway::log::newUuidText();
    event.timestamp = clock.now();
    event.correlationId = gateway::log::newUuidText();
    event.fileHash = QStringLiteral("00112233445566ff");
    event.fileSizeBytes = 524'288;
    event.attempt = 1;
    event.details = record({}, {}).details;
    const QString directory = folder + QStringLiteral("/Sink");
    GatewayLogFileSink sink(directory, clock);
    Clock::time_point before = Clock::now();
    for (int index = 0; index < count; ++index) {
        sink.write(event);
    }
    std::printf("%d events written: %.2f us each\n", count, microseconds(Clock::now() - before) / count);

    before = Clock::now();
    int decoded = 0;
    gateway::log::LogLineDecoder decoder;
    for (const QFileInfo &info : QDir(directory).entryInfoList(QDir::Files)) {
        QFile file(info.filePath());
        const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        for (qsizetype from = 0, end = bytes.indexOf('\n'); end >= 0;
             from = end + 1, end = bytes.indexOf('\n', from)) {
            decoded += decoder.decode(QByteArrayView(bytes).sliced(from, end - from)) ? 1 : 0;
        }
    }
    std::printf("%d events read: %.2f us each\n", decoded, microseconds(Clock::now() - before) / decoded);
}

} // namespace

int main()
{
    const QTemporaryDir folder;
    measureCaller(folder.path(), 100'000, 50us);
    measureCaller(folder.path(), 10'000, 0us);
    measureFiles(folder.path(), 100'000);
    return 0;
}
