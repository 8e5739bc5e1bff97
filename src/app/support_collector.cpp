#include "app/support_collector.h"

#include "doctor/doctor.h"
#include "log/browsing/log_row_reader.h"
#include "log/browsing/log_rows.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "platform/files/file_error.h"

#include <QtCore/QSysInfo>

#include <memory>

namespace gateway::app {

using Lines = doctor::SupportFacts::Lines;

namespace {

/// The latest events that fit into a report.
constexpr qsizetype kLogRows = 500;

Lines versions()
{
    return {{QStringLiteral("quorin-gateway"), QStringLiteral(QUORIN_VERSION)},
            {QStringLiteral("Qt"), QString::fromLatin1(qVersion())},
            {QStringLiteral("system"), QSysInfo::prettyProductName()},
            {QStringLiteral("kernel"), QSysInfo::kernelVersion()},
            {QStringLiteral("processor"), QSysInfo::currentCpuArchitecture()},
            {QStringLiteral("cores"), QString::number(Ground::cores())}};
}

QString yesOrNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

/// The latest events of the log, oldest first; none where it can't be read.
QList<log::GatewayLogEvent> latestEvents(const QString &folder)
{
    QList<log::GatewayLogEvent> events;
    try {
        log::LogRowReader reader(
            log::readLogRows(folder, kLogRows, std::make_shared<const log::LogRows>(), {}));
        for (qsizetype position = reader.rows()->count(); position > 0; --position) {
            if (const auto row = reader.row(position - 1)) {
                events.append(row->event);
            }
        }
    } catch (const platform::FileError &) {
        return events;
    }
    return events;
}

/// An examination that nobody may be waiting for any more.
struct Examination
{
    std::stop_source stop;
    std::optional<doctor::Diagnosis> diagnosis; // on the main thread
};

} // namespace

SupportCollector::SupportCollector(const Parts &parts)
    : m_parts(parts), m_scope(parts.ground.main, parts.ground.pool)
{
    platform::assertMainThread("SupportCollector");
}

QCoro::Task<QString> SupportCollector::collect()
{
    const auto operation = m_scope.enter();
    doctor::SupportFacts facts{.at = m_parts.ground.clock.now(),
                               .versions = versions(),
                               .figures = figures(),
                               .settings = settings()};
    facts.diagnosis = co_await examine();
    facts.log = co_await platform::onPool(
        m_parts.ground.main, m_parts.ground.pool, [folder = m_parts.ground.options.layout.logFolder] {
            return latestEvents(folder);
        });
    const QString bundle = doctor::supportBundle(facts);
    co_return bundle;
}

/// A share that is away may hold up an examination for ever, but not the bundle.
QCoro::Task<std::optional<doctor::Diagnosis>> SupportCollector::examine()
{
    constexpr std::chrono::milliseconds kLook(100);
    Ground &ground = m_parts.ground;
    const auto examination = std::make_shared<Examination>();
    ground.pool.run([&ground,
                     &folders = m_parts.receiving.incomingFolders,
                     &listener = m_parts.receiving.store->listenerService(),
                     examination] {
        doctor::Doctor doctor(
            ground.index, folders, ground.emitter, ground.clock, [&listener](const QString &path) {
                return listener.awaitsRemoval(path);
            });
        const doctor::Diagnosis found = doctor.examine(false, examination->stop.get_token());
        ground.main.post([examination, found] { examination->diagnosis = found; });
    });
    const auto end = ground.clock.monotonic() + kLongestExamination;
    while (!examination->diagnosis && ground.clock.monotonic() < end) {
        const bool goesOn =
            co_await platform::asyncSleep(ground.main, ground.clock, kLook, m_scope.stopToken());
        if (!goesOn) {
            break;
        }
    }
    examination->stop.request_stop();
    const std::optional<doctor::Diagnosis> diagnosis = examination->diagnosis;
    co_return diagnosis;
}

Lines SupportCollector::figures() const
{
    const state::GatewayFigures &live = m_parts.live.figures();
    const state::ListenerFigures listener = m_parts.receiving.listenerWatch.figures();
    const upload::UploadRunFigures runs = m_parts.sending.runWatcher.figures();
    const auto closure = m_parts.sending.coordinator->closure();
    Lines lines{
        {QStringLiteral("studies, series, images"),
         QStringLiteral("%1, %2, %3")
             .arg(live.receivedStudiesCount)
             .arg(live.receivedSeriesCount)
             .arg(live.receivedImagesCount)},
        {QStringLiteral("images uploaded, waiting, failed"),
         QStringLiteral("%1, %2, %3")
             .arg(live.syncedImagesCount)
             .arg(live.notSyncedImagesCount)
             .arg(live.failedImagesCount)},
        {QStringLiteral("received files waiting, set aside"),
         QStringLiteral("%1, %2").arg(live.inbox.waiting).arg(live.inbox.setAside)},
        {QStringLiteral("file store out of sight"), yesOrNo(live.isStoreOutOfSight)},
        {QStringLiteral("listener"), QString(state::rawValue(listener.state))},
        {QStringLiteral("listener as it should be"), yesOrNo(listener.isAsItShouldBe())},
        {QStringLiteral("cloud"), cloud_client::cloudKindName(m_parts.account.client.configuration().kind)},
        {QStringLiteral("session"), account::rawValue(m_parts.account.auth.standing().state)},
        {QStringLiteral("upload under way"), yesOrNo(runs.isRunning)},
        {QStringLiteral("uploads held up by"),
         closure ? core::rawValue(closure->cause) : QLatin1StringView("nothing")}};
    if (runs.last) {
        lines.append({QStringLiteral("last upload: sent, failed"),
                      QStringLiteral("%1, %2")
                          .arg(runs.last->summary.successfulUploads)
                          .arg(runs.last->summary.failedUploads)});
    }
    return lines;
}

QList<std::pair<QString, QVariant>> SupportCollector::settings() const
{
    QList<std::pair<QString, QVariant>> kept;
    const QStringList keys = m_parts.ground.defaults.keys();
    for (const QString &key : keys) {
        kept.append({key, m_parts.ground.defaults.object(key).value_or(QVariant())});
    }
    return kept;
}

} // namespace gateway::app
