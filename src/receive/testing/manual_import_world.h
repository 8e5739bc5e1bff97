#pragma once

#include "log/writing/store_log_emitter.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "receive/store_manual_import_service.h"
#include "receive/testing/fake_archive_unpacking.h"
#include "receive/testing/fake_imports.h"
#include "receive/testing/recording_receive_observer.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace gateway::receive::testing {

/// A panel whose operator is the test.
class FakeImportPanel final : public ImportPanel
{
public:
    void present(const ImportPanelRequest &request, std::function<void(QList<QUrl>)> confirmed) override
    {
        requests.push_back(request);
        confirm = std::move(confirmed);
    }

    std::vector<ImportPanelRequest> requests;
    std::function<void(QList<QUrl>)> confirm; ///< of the last panel
};

/// A manual import service with everything around it, in a throw-away home.
///
/// Owner: a test. Thread: main.
class ManualImportWorld
{
public:
    /// \param imports  the index; the world's own fake without one.
    explicit ManualImportWorld(index::DBServiceProtocol *importsInstead = nullptr)
        : m_imports(importsInstead == nullptr ? imports : *importsInstead)
    {
        QDir().mkpath(temporaryFolder());
        QDir().mkpath(sources());
        start();
    }

    /// A new service, as the next start of the program makes it.
    void start()
    {
        service = std::make_shared<StoreManualImportService>(
            StoreManualImportService::Collaborators{m_imports,
                                                    emitter,
                                                    observer,
                                                    main,
                                                    clock,
                                                    unpacking,
                                                    [this] { return availableBytes; },
                                                    [this] { ++refreshes; },
                                                    [this](const QString &reason) { note(reason); },
                                                    &panel},
            StoreManualImportService::Places{temporaryFolder(), {path(QStringLiteral("own"))}});
    }

    QString path(const QString &name) const { return m_home.filePath(name); }
    QString temporaryFolder() const { return path(QStringLiteral("tmp")); }
    QString sources() const { return path(QStringLiteral("sources")); }

    /// A file of the operator's, below `sources`. \return its path.
    QString source(const QString &name, const QByteArray &content) const
    {
        const QString file = sources() + u'/' + name;
        QDir().mkpath(QFileInfo(file).path());
        QFile written(file);
        if (!written.open(QIODevice::WriteOnly) || written.write(content) != content.size()) {
            qFatal("a test file could not be written");
        }
        return file;
    }

    /// Imports paths and waits for the end of the batch.
    ManualImportReport import(const QStringList &paths, const QString &trigger = QStringLiteral("drag_drop"))
    {
        return awaitEnd(begin(paths, trigger));
    }

    QString begin(const QStringList &paths, const QString &trigger = QStringLiteral("drag_drop"))
    {
        QList<QUrl> urls;
        for (const QString &chosen : paths) {
            urls.append(QUrl::fromLocalFile(chosen));
        }
        return service->importItems(urls, trigger);
    }

    ManualImportReport awaitEnd(const QString &batch)
    {
        std::optional<ManualImportReport> report = service->report(batch);
        while (report && report->phase != ManualImportReport::Phase::finished) {
            std::this_thread::yield();
            report = service->report(batch);
        }
        main.drain();
        return report.value_or(ManualImportReport());
    }

    QStringList uploadRequests() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_uploadRequests;
    }

    QStringList leftInTemporaryFolder() const
    {
        return QDir(temporaryFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    platform::testing::ManualClock clock;
    platform::MainExecutor main;
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    RecordingReceiveObserver observer;
    FakeImports imports;
    FakeArchiveUnpacking unpacking;
    FakeImportPanel panel;
    std::optional<qint64> availableBytes;
    int refreshes = 0;

private:
    void note(const QString &reason)
    {
        const platform::MutexLock lock(m_mutex);
        m_uploadRequests.append(reason);
    }

    QTemporaryDir m_home;
    index::DBServiceProtocol &m_imports;
    mutable platform::Mutex m_mutex;
    QStringList m_uploadRequests QUORIN_GUARDED_BY(m_mutex);

public:
    std::shared_ptr<StoreManualImportService> service;
};

} // namespace gateway::receive::testing
