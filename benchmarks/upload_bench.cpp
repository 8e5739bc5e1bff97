#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/quorin_api_client.h"
#include "index/dicom_db.h"
#include "platform/concurrency/main_executor.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/dicom_converter_wrapper.h"
#include "platform/dicom/dicom_file.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/files/file_system.h"
#include "platform/keychain/token_store.h"
#include "platform/notifications/notification_center.h"
#include "upload/upload_run.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>

// From the index to the cloud: imports the DICOM files of a folder, sends them to a local cloud in each way
// of working; or converts them without sending, to compare.

namespace {

namespace cloud_client = gateway::cloud_client;
namespace platform = gateway::platform;
namespace upload = gateway::upload;
using upload::StoreUpload::ExecutionConfig;
using upload::StoreUpload::ExecutionMode;
using Clock = std::chrono::steady_clock;

constexpr int kConnections = 4; // where files go out in parallel

class MemoryTokenStore final : public platform::TokenStore
{
public:
    platform::TokenAnswer read(const QString &) override { return platform::TokenAnswer::absent(); }
    bool write(const QString &, const QByteArray &) override { return true; }
    bool remove(const QString &) override { return true; }
};

class SilentLog final : public gateway::log::GatewayLogging
{
public:
    void log(gateway::log::GatewayLogEvent) override {}
};

class SilentState final : public gateway::state::UploadState
{
public:
    void refreshCounters() override {}
    void refreshTransferSeries() override {}
    void recordUploadThroughput(qint64, std::chrono::duration<double>) override {}
    void resetUploadSpeed() override {}
};

class SilentTerms final : public upload::TermsFollowUp
{
public:
    void checkTermsAfterUploadFailure(const std::exception &error, const QString &, const QUrl &) override
    {
        std::printf("an upload failed: %s\n", error.what());
    }
};

class NoCleanup final : public upload::GatewayAutoDeleteCleanupServicing
{
public:
    void
    runCleanup(const QString &, const std::optional<QString> &, const std::optional<QDateTime> &) override
    {
    }
};

class AlwaysSignedIn final : public upload::UploadSession
{
public:
    explicit AlwaysSignedIn(cloud_client::QuorinApiClient &client) : m_client(client) {}
    cloud_client::CloudSession present() override { return m_client.session(); }

private:
    cloud_client::QuorinApiClient &m_client;
};

/// Times each conversion that a run has done. Thread: any.
class TimedConverter final : public platform::DicomConverting
{
public:
    explicit TimedConverter(platform::DicomConverting &inner) : m_inner(inner) {}

    platform::SendableFile convertToJPEGLossless(const QString &path) override
    {
        const Clock::time_point before = Clock::now();
        platform::SendableFile made = m_inner.convertToJPEGLossless(path);
        m_spent += (Clock::now() - before).count();
        return made;
    }

    platform::SendableFile makeSendable(const QString &path) override { return m_inner.makeSendable(path); }

    QString temporaryPath() override { return m_inner.temporaryPath(); }

    platform::Likeness compare(const QString &fetched, const QString &sent, const QString &stored) override
    {
        return m_inner.compare(fetched, sent, stored);
    }

    std::chrono::nanoseconds takeSpent() { return std::chrono::nanoseconds(m_spent.exchange(0)); }

private:
    platform::DicomConverting &m_inner;
    std::atomic<Clock::rep> m_spent = 0;
};

/// The cloud server beside this program, on a free port, with a fresh folder.
class LocalCloud
{
public:
    LocalCloud(const QString &folder, bool syncs)
    {
        QStringList arguments = {QStringLiteral("--listen"),
                                 QStringLiteral("127.0.0.1:0"),
                                 QStringLiteral("--data"),
                                 folder,
                                 QStringLiteral("--user"),
                                 QStringLiteral("bench@example.org:bench")};
        if (!syncs) {
            arguments.append(QStringLiteral("--no-sync"));
        }
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quorin-cloud"), arguments);
        QByteArray line;
        while (!line.endsWith('\n') && m_process.waitForReadyRead()) {
            line += m_process.readLine();
        }
        m_url = QUrl(QString::fromUtf8(line.mid(line.indexOf("http")).trimmed()));
    }
    ~LocalCloud()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    LocalCloud(const LocalCloud &) = delete;
    LocalCloud &operator=(const LocalCloud &) = delete;

    QUrl url() const { return m_url; }

private:
    QProcess m_process;
    QUrl m_url;
};

/// Everything between the index and the cloud, real but for log, screens and retention.
struct Bench
{
    explicit Bench(bool cloudSyncs) : localCloud(home.filePath(QStringLiteral("cloud")), cloudSyncs)
    {
        const QString device = QStringLiteral("BENCH");
        cloud_client::QrnAuthenticationAPI(client).login({QStringLiteral("bench@example.org"),
                                                          QStringLiteral("bench"),
                                                          std::nullopt,
                                                          QStringLiteral("linux"),
                                                          device,
                                                          std::nullopt,
                                                          {std::nullopt, device, QStringLiteral("1")}});
    }

    QTemporaryDir home;
    LocalCloud localCloud;
    platform::MainExecutor main;
    platform::SystemClock clock;
    platform::NotificationCenter notifications;
    platform::UserDefaults defaults{home.filePath(QStringLiteral("defaults.sqlite"))};
    platform::WorkerProcessPool parsers{2, platform::helperProgramPath()};
    platform::WorkerProcessPool converters{2, platform::helperProgramPath()};
    platform::DicomFile parser{parsers, clock};
    gateway::index::DicomDB database{
        {home.filePath(QStringLiteral("index.sqlite")), home.filePath(QStringLiteral("store"))},
        {defaults, parser, notifications, main, clock, platform::systemFiles()}};
    platform::DicomConverterWrapper wrapper{converters, home.filePath(QStringLiteral("tmp"))};
    TimedConverter converter{wrapper};
    MemoryTokenStore tokens;
    cloud_client::QuorinApiClient client{configuration(), tokens, clock};
    cloud_client::QrnStowAPI stow{client};
    AlwaysSignedIn session{client};
    SilentState state;
    SilentTerms terms;
    NoCleanup cleanup;
    SilentLog log;
    gateway::log::StoreLogEmitter emitter{log, clock};
    upload::RunObserver observer;
    upload::NewSeries newSeries;
    upload::UploadCollaborators collaborators{
        database, stow, converter, session, state, terms, cleanup, observer, emitter, main, clock, newSeries};

    cloud_client::CloudConfiguration configuration() const
    {
        cloud_client::CloudConfiguration made;
        made.baseUrl = localCloud.url();
        return made;
    }

    void importAll(const QFileInfoList &files)
    {
        const Clock::time_point start = Clock::now();
        for (const QFileInfo &file : files) {
            database.importFile(QUrl::fromLocalFile(file.filePath()));
        }
        tell("import, one at a time", files.size(), Clock::now() - start);
    }

    static void tell(const std::string &what, qsizetype files, std::chrono::nanoseconds took)
    {
        std::printf("%-44s %7.1f files/s\n",
                    what.c_str(),
                    static_cast<double>(files) / std::chrono::duration<double>(took).count());
        std::fflush(stdout);
    }

    void send(const std::string &what, const ExecutionConfig &config)
    {
        const Clock::time_point start = Clock::now();
        const auto summary =
            upload::UploadRun(collaborators, QStringLiteral("RUN"), config, QStringLiteral("BENCH")).run({});
        const auto took = Clock::now() - start;
        main.drain();
        tell(what, summary.successfulUploads, took);
        const auto converting = converter.takeSpent();
        if (converting.count() > 0) {
            std::printf("    conversions under way on average: %.2f\n",
                        std::chrono::duration<double>(converting) / std::chrono::duration<double>(took));
        }
        if (summary.failedUploads + summary.missingFiles > 0) {
            std::printf("    %lld failed\n", static_cast<long long>(summary.failedUploads));
        }
    }

    /// What encoding and verifying alone do on two cores.
    void convertOnly(const QFileInfoList &files)
    {
        std::atomic<qsizetype> next = 0;
        const Clock::time_point start = Clock::now();
        const auto work = [&] {
            for (qsizetype at = next++; at < files.size(); at = next++) {
                QFile::remove(wrapper.convertToJPEGLossless(files[at].filePath()).path);
            }
        };
        {
            const std::jthread other(work);
            work();
        }
        tell("conversion alone, two at a time", files.size(), Clock::now() - start);
    }
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    CLI::App app("Measures the road from the index to a local cloud.");
    std::string folder;
    bool cloudSyncs = false;
    bool conversionOnly = false;
    std::string onlyWay;
    app.add_option("folder", folder, "DICOM files to send")->required()->check(CLI::ExistingDirectory);
    app.add_flag("--cloud-syncs", cloudSyncs, "The cloud waits for its disk before it answers");
    app.add_flag("--conversion-only", conversionOnly, "Convert the files and send none");
    app.add_option("--way", onlyWay, "Only this way of working, such as \"parallel_batch, original\"");
    CLI11_PARSE(app, argc, argv);

    const QFileInfoList files = QDir(QString::fromStdString(folder)).entryInfoList(QDir::Files, QDir::Name);
    if (conversionOnly) {
        Bench(cloudSyncs).convertOnly(files);
        return 0;
    }
    const struct
    {
        const char *what;
        ExecutionMode mode;
        bool compresses;
    } ways[] = {{"single, original", ExecutionMode::single, false},
                {"parallel_file, original", ExecutionMode::parallelFile, false},
                {"parallel_batch, original", ExecutionMode::parallelBatch, false},
                {"single, JPEG-LS", ExecutionMode::single, true},
                {"parallel_file, JPEG-LS", ExecutionMode::parallelFile, true},
                {"parallel_batch, JPEG-LS", ExecutionMode::parallelBatch, true}};
    for (const auto &way : ways) {
        if (!onlyWay.empty() && onlyWay != way.what) {
            continue;
        }
        Bench bench(cloudSyncs);
        bench.importAll(files);
        const bool inBatches = way.mode == ExecutionMode::parallelBatch;
        bench.send(way.what,
                   {.mode = way.mode,
                    .batchEnabled = inBatches,
                    .maxConcurrent = kConnections,
                    .batchSize = 2,
                    .compressionEnabled = way.compresses,
                    .fetchLimit = 8});
    }
    return 0;
}
