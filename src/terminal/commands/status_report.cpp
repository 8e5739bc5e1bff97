#include "terminal/commands/status_report.h"

#include "account/session_words.h"
#include "platform/sentences/in_english.h"
#include "state/time_texts.h"
#include "terminal/commands/failure_report.h"
#include "terminal/commands/waiting_report.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QLocale>

#include <numeric>

namespace gateway::terminal {

namespace {

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonValue boolOrNull(const std::optional<bool> &value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue modeOrNull(const std::optional<upload::StoreUpload::ExecutionMode> &mode)
{
    return mode ? QJsonValue(rawValue(*mode)) : QJsonValue(QJsonValue::Null);
}

QJsonValue lastRun(const upload::UploadRunFigures &figures)
{
    if (!figures.last) {
        return QJsonValue::Null;
    }
    const upload::StoreUpload::RunSummary &run = figures.last->summary;
    QJsonObject json{
        {QStringLiteral("finishedAt"), figures.last->at.toString(Qt::ISODate)},
        {QStringLiteral("executionMode"), modeOrNull(run.orders.mode)},
        {QStringLiteral("batchEnabled"), run.orders.batchEnabled},
        {QStringLiteral("batchSize"), run.orders.batchSize},
        {QStringLiteral("maxConcurrent"), run.orders.maxConcurrent},
        {QStringLiteral("compressionEnabled"), run.orders.compressionEnabled},
        {QStringLiteral("selectedCandidates"), qint64{run.selectedCandidates}},
        {QStringLiteral("successfulUploads"), qint64{run.successfulUploads}},
        {QStringLiteral("failedUploads"), qint64{run.failedUploads}},
        {QStringLiteral("missingFiles"), qint64{run.missingFiles}},
        {QStringLiteral("recoveredInProgressImages"), qint64{run.recoveredInProgressImages}},
        {QStringLiteral("recoveredInProgressSeries"), qint64{run.recoveredInProgressSeries}},
        {QStringLiteral("recoveredInProgressStudies"), qint64{run.recoveredInProgressStudies}},
        {QStringLiteral("reconciledCandidates"), qint64{run.reconciledCandidates}},
        {QStringLiteral("reconciledImages"), qint64{run.reconciledImages}},
        {QStringLiteral("missingToken"), run.missingToken},
        {QStringLiteral("wasCancelled"), run.wasCancelled},
    };
    if (run.trouble) {
        json.insert(QStringLiteral("endedBy"), QString(core::rawValue(run.trouble->failure.failureClass)));
    }
    return json;
}

QJsonObject inboxJson(const state::InboxFigures &inbox)
{
    return {{QStringLiteral("setAside"), inbox.setAside},
            {QStringLiteral("waiting"), inbox.waiting},
            {QStringLiteral("longestWaitSeconds"), qint64{inbox.longestWait.count()}},
            {QStringLiteral("waitsLong"), inbox.isWaitingLong()},
            {QStringLiteral("notRemoved"), inbox.notRemoved},
            {QStringLiteral("outOfSight"), inbox.outOfSight}};
}

QJsonObject listenerJson(const state::ListenerFigures &listener)
{
    return {{QStringLiteral("state"), QString(state::rawValue(listener.state))},
            {QStringLiteral("aeTitle"), listener.aeTitle},
            {QStringLiteral("port"), listener.port},
            {QStringLiteral("address"), listener.address},
            {QStringLiteral("asItShouldBe"), listener.isAsItShouldBe()},
            {QStringLiteral("error"), textOrNull(listener.failure.inEnglish())}};
}

QJsonObject countersJson(const StatusReport::Counters &counters)
{
    QJsonValue instances;
    if (counters.instances) {
        instances = QJsonObject{
            {QStringLiteral("total"), qint64{counters.instances->total}},
            {QStringLiteral("notSynced"), qint64{counters.instances->total - counters.instances->synced}},
            {QStringLiteral("synced"), qint64{counters.instances->synced}},
            {QStringLiteral("failed"), qint64{counters.instances->failed}}};
    }
    return {{QStringLiteral("studies"), counters.studies},
            {QStringLiteral("series"), counters.series},
            {QStringLiteral("images"), counters.images},
            {QStringLiteral("notSynced"), counters.notSynced},
            {QStringLiteral("synced"), counters.synced},
            {QStringLiteral("failed"), counters.failed},
            {QStringLiteral("instances"), instances}};
}

QJsonArray seriesJson(const std::vector<std::int64_t> &series)
{
    QJsonArray array;
    for (const std::int64_t count : series) {
        array.append(static_cast<qint64>(count));
    }
    return array;
}

QJsonObject activityJson(const StatusReport::Activity &activity)
{
    return {{QStringLiteral("timeframe"), activity.timeframe},
            {QStringLiteral("windowStart"), textOrNull(activity.windowStart.toString(Qt::ISODate))},
            {QStringLiteral("bucketSeconds"), static_cast<qint64>(activity.bucket.count())},
            {QStringLiteral("received"), seriesJson(activity.received)},
            {QStringLiteral("sent"), seriesJson(activity.sent)}};
}

qint64 sumOf(const QJsonArray &series)
{
    return std::accumulate(series.begin(), series.end(), qint64{0}, [](qint64 sum, const QJsonValue &count) {
        return sum + count.toInteger();
    });
}

QString activityText(const QJsonObject &activity)
{
    const QJsonArray received = activity.value(QStringLiteral("received")).toArray();
    const std::chrono::seconds bucket(activity.value(QStringLiteral("bucketSeconds")).toInteger());
    return QStringLiteral("%1: %2 received, %3 sent")
        .arg(state::rangeTitle(bucket * received.size(), QLocale::c()))
        .arg(sumOf(received))
        .arg(sumOf(activity.value(QStringLiteral("sent")).toArray()));
}

QJsonObject cloudJson(const StatusReport::Cloud &cloud)
{
    QJsonValue storage;
    if (cloud.storage) {
        storage = QJsonObject{{QStringLiteral("allowanceKb"), cloud.storage->allowanceKb},
                              {QStringLiteral("usedKb"), cloud.storage->usedKb}};
    }
    return {{QStringLiteral("kind"), cloud.kind},
            {QStringLiteral("baseUrl"), cloud.baseUrl},
            {QStringLiteral("online"), boolOrNull(cloud.isOnline)},
            {QStringLiteral("lastError"), textOrNull(cloud.lastError)},
            {QStringLiteral("lastCheckedAt"), textOrNull(cloud.lastCheckedAt.toString(Qt::ISODate))},
            {QStringLiteral("storage"), storage}};
}

QJsonObject termsJson(const StatusReport::Terms &terms)
{
    return {{QStringLiteral("required"), boolOrNull(terms.isRequired)},
            {QStringLiteral("version"), textOrNull(terms.version)},
            {QStringLiteral("reason"), textOrNull(terms.reason)}};
}

QString bytesText(const QJsonValue &bytes)
{
    return QLocale::c().formattedDataSize(bytes.toInteger());
}

QString kilobytesText(const QJsonValue &kilobytes)
{
    constexpr double kBytesPerKb = 1024.0;
    return QLocale::c().formattedDataSize(static_cast<qint64>(kilobytes.toDouble() * kBytesPerKb));
}

QString listenerText(const QJsonObject &listener)
{
    const QString state = listener.value(QStringLiteral("state")).toString();
    if (state == QStringLiteral("listening")) {
        return QStringLiteral("%1 on port %2 (%3)")
            .arg(listener.value(QStringLiteral("aeTitle")).toString())
            .arg(listener.value(QStringLiteral("port")).toInteger())
            .arg(listener.value(QStringLiteral("address")).toString());
    }
    const QString error = listener.value(QStringLiteral("error")).toString();
    const QString word = state.left(1).toUpper() + state.mid(1);
    return error.isEmpty() ? word : word + QStringLiteral(": ") + error;
}

QString cloudText(const QJsonObject &cloud)
{
    QString text = cloud.value(QStringLiteral("baseUrl")).toString();
    const QJsonValue online = cloud.value(QStringLiteral("online"));
    if (online.isBool()) {
        text += online.toBool() ? QStringLiteral(", online") : QStringLiteral(", away");
    }
    const QJsonObject storage = cloud.value(QStringLiteral("storage")).toObject();
    if (!storage.isEmpty()) {
        text += QStringLiteral(", %1 of %2 used")
                    .arg(kilobytesText(storage.value(QStringLiteral("usedKb"))),
                         kilobytesText(storage.value(QStringLiteral("allowanceKb"))));
    }
    const QString error = cloud.value(QStringLiteral("lastError")).toString();
    return error.isEmpty() ? text : text + QStringLiteral(": ") + error;
}

QString localMoment(const QString &isoText)
{
    return QDateTime::fromString(isoText, Qt::ISODate)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString logRoomText(const QJsonObject &log)
{
    const QString bytes = bytesText(log.value(QStringLiteral("bytes")));
    const QJsonValue limit = log.value(QStringLiteral("limitBytes"));
    return limit.isNull() ? bytes : QStringLiteral("%1 of %2").arg(bytes, bytesText(limit));
}

QString sessionText(const QJsonObject &session)
{
    const QString state = session.value(QStringLiteral("state")).toString();
    const QString since = localMoment(session.value(QStringLiteral("since")).toString());
    const QString label = session.value(QStringLiteral("label")).toString();
    if (state == account::rawValue(account::SessionState::notKnownYet)) {
        return account::accountText(account::SessionState::notKnownYet, {});
    }
    if (state == account::rawValue(account::SessionState::ended)) {
        return QStringLiteral("Ended by the cloud on %1; sign in again").arg(since);
    }
    if (state == account::rawValue(account::SessionState::credentialsRefused)) {
        return QStringLiteral("User name or password of %1 refused since %2; tried again by itself")
            .arg(label, since);
    }
    if (state == account::rawValue(account::SessionState::signInUnavailable)) {
        return QStringLiteral("Sign-in of %1 can't be had since %2; tried again by itself. %3")
            .arg(label, since, session.value(QStringLiteral("trouble")).toString())
            .trimmed();
    }
    if (!session.value(QStringLiteral("signedIn")).toBool()) {
        return QStringLiteral("Signed out");
    }
    return account::accountText(account::SessionState::signedIn,
                                label.isEmpty() ? std::nullopt : std::optional(label));
}

QJsonObject sessionJson(const StatusReport::Session &session)
{
    const std::optional<QDateTime> &since = session.standing.since;
    return {{QStringLiteral("signedIn"), session.isSignedIn},
            {QStringLiteral("label"), textOrNull(session.label)},
            {QStringLiteral("state"), QString(account::rawValue(session.standing.state))},
            {QStringLiteral("since"), textOrNull(since ? since->toUTC().toString(Qt::ISODate) : QString())},
            {QStringLiteral("trouble"), textOrNull(session.trouble)}};
}

QString countersText(const QJsonObject &counters)
{
    const auto count = [&](const QString &key) { return counters.value(key).toInteger(); };
    return QStringLiteral("%1 in %2 series of %3 studies; %4 synced, %5 to send, %6 failed")
        .arg(count(QStringLiteral("images")))
        .arg(count(QStringLiteral("series")))
        .arg(count(QStringLiteral("studies")))
        .arg(count(QStringLiteral("synced")))
        .arg(count(QStringLiteral("notSynced")))
        .arg(count(QStringLiteral("failed")));
}

QString instancesText(const QJsonValue &instances)
{
    const auto count = [&](const QString &key) { return instances[key].toInteger(); };
    return instances.isNull() ? QStringLiteral("not known")
                              : QStringLiteral("%1; %2 synced, %3 to send, %4 failed")
                                    .arg(count(QStringLiteral("total")))
                                    .arg(count(QStringLiteral("synced")))
                                    .arg(count(QStringLiteral("notSynced")))
                                    .arg(count(QStringLiteral("failed")));
}

/// Nothing where nobody has to know anything.
QStringList upkeepLines(const QJsonObject &status)
{
    QStringList lines;
    const qint64 setAside = status[u"inbox"][u"setAside"].toInteger();
    const QJsonValue waits = status[u"inbox"];
    if (waits[u"waitsLong"].toBool()) {
        constexpr int kMinute = 60;
        lines.append(QStringLiteral("Inbox      %1 received images aren't taken in, the first for %2 min; "
                                    "quorin-gateway doctor says why")
                         .arg(waits[u"waiting"].toInteger())
                         .arg(waits[u"longestWaitSeconds"].toInteger() / kMinute));
    }
    if (const qint64 notRemoved = waits[u"notRemoved"].toInteger(); notRemoved > 0) {
        lines.append(QStringLiteral("Inbox      %1 files can't be removed, though their images are taken in; "
                                    "quorin-gateway doctor says what to do")
                         .arg(notRemoved));
    }
    if (waits[u"outOfSight"].toInteger() > 0) {
        lines.append(QStringLiteral("Inbox      can't be seen, or another one stands in its place; received "
                                    "images may wait in it; quorin-gateway doctor says where"));
    }
    if (status[u"storage"][u"outOfSight"].toBool()) {
        lines.append(
            QStringLiteral("Store      can't be seen, so nothing is taken in; what comes waits in the "
                           "incoming folder. Bring its volume back"));
    }
    if (setAside > 0) {
        lines.append(QStringLiteral("Set aside  %1 received files that could not be taken in; "
                                    "run: quorin-gateway doctor --repair")
                         .arg(setAside));
    }
    const QJsonValue again = status[u"recordingAgain"];
    if (again[u"files"].toInteger() > 0) {
        lines.append(QStringLiteral("Index      lacks stored images; %1 of %2 recorded again")
                         .arg(again[u"recorded"].toInteger())
                         .arg(again[u"files"].toInteger()));
    }
    if (const QString former = status[u"formerIndex"].toString(); !former.isEmpty()) {
        lines.append(QStringLiteral("Index      of the version before is kept at %1 until this version has "
                                    "been ended in an orderly way and starts again")
                         .arg(former));
    }
    if (status[u"retention"][u"heldBack"].toBool()) {
        lines.append(
            QStringLiteral("Retention  held back until the clock has been right for an hour: it jumped "
                           "by more than a day"));
    }
    return lines;
}

} // namespace

QJsonObject toJson(const StatusReport &report)
{
    const platform::InEnglish english;
    return {
        {QStringLiteral("listener"), listenerJson(report.listener)},
        {QStringLiteral("receiving"),
         QJsonObject{{QStringLiteral("active"), report.openAssociations > 0},
                     {QStringLiteral("associations"), report.openAssociations}}},
        {QStringLiteral("inbox"), inboxJson(report.upkeep.inbox)},
        {QStringLiteral("retention"),
         QJsonObject{{QStringLiteral("heldBack"), report.upkeep.isRetentionHeldBack}}},
        {QStringLiteral("recordingAgain"),
         QJsonObject{{QStringLiteral("files"), report.upkeep.filesToRecordAgain},
                     {QStringLiteral("recorded"), report.upkeep.filesRecordedAgain}}},
        {QStringLiteral("formerIndex"), textOrNull(report.upkeep.formerIndex)},
        {QStringLiteral("counters"), countersJson(report.counters)},
        {QStringLiteral("failures"), toJson(report.failures)},
        {QStringLiteral("waiting"), toJson(report.waiting)},
        {QStringLiteral("log"),
         QJsonObject{{QStringLiteral("bytes"), report.upkeep.logBytes},
                     {QStringLiteral("limitBytes"),
                      report.upkeep.logLimitBytes > 0 ? QJsonValue(report.upkeep.logLimitBytes)
                                                      : QJsonValue(QJsonValue::Null)}}},
        {QStringLiteral("storage"),
         QJsonObject{{QStringLiteral("usedBytes"), report.storage.usedBytes},
                     {QStringLiteral("availableBytes"), report.storage.availableBytes},
                     {QStringLiteral("outOfSight"), report.upkeep.isStoreOutOfSight}}},
        {QStringLiteral("activity"), activityJson(report.activity)},
        {QStringLiteral("upload"),
         QJsonObject{{QStringLiteral("running"), report.upload.isRunning},
                     {QStringLiteral("mode"), modeOrNull(report.upload.mode)},
                     {QStringLiteral("speedMbps"), report.uploadSpeedMbps},
                     {QStringLiteral("lastRun"), lastRun(report.upload)}}},
        {QStringLiteral("cloud"), cloudJson(report.cloud)},
        {QStringLiteral("terms"), termsJson(report.terms)},
        {QStringLiteral("session"), sessionJson(report.session)},
        {QStringLiteral("setup"),
         QJsonObject{{QStringLiteral("required"), report.setup.isRequired},
                     {QStringLiteral("version"), report.setup.version}}},
        {QStringLiteral("banner"), textOrNull(report.banner)},
    };
}

QString statusText(const QJsonObject &status)
{
    const auto part = [&](const QString &key) { return status.value(key).toObject(); };
    const QJsonObject receiving = part(QStringLiteral("receiving"));
    const QJsonObject storage = part(QStringLiteral("storage"));
    const QJsonObject upload = part(QStringLiteral("upload"));
    QStringList lines{
        QStringLiteral("Listener   ") + listenerText(part(QStringLiteral("listener"))),
        QStringLiteral("Receiving  %1 open associations")
            .arg(receiving.value(QStringLiteral("associations")).toInteger()),
        QStringLiteral("Images     ") + countersText(part(QStringLiteral("counters"))),
        QStringLiteral("Instances  ") +
            instancesText(part(QStringLiteral("counters")).value(QStringLiteral("instances"))),
        QStringLiteral("Activity   ") + activityText(part(QStringLiteral("activity"))),
        QStringLiteral("Storage    %1 used, %2 free")
            .arg(bytesText(storage.value(QStringLiteral("usedBytes"))),
                 bytesText(storage.value(QStringLiteral("availableBytes")))),
        QStringLiteral("Upload     %1, %2 Mbit/s")
            .arg(upload.value(QStringLiteral("running")).toBool() ? QStringLiteral("running")
                                                                  : QStringLiteral("idle"))
            .arg(upload.value(QStringLiteral("speedMbps")).toDouble(), 0, 'f', 1),
        QStringLiteral("Cloud      ") + cloudText(part(QStringLiteral("cloud"))),
        QStringLiteral("Session    ") + sessionText(part(QStringLiteral("session"))),
    };
    lines.append(QStringLiteral("Log        ") + logRoomText(part(QStringLiteral("log"))));
    lines.append(upkeepLines(status));
    const QJsonObject terms = part(QStringLiteral("terms"));
    if (terms.value(QStringLiteral("required")).toBool()) {
        lines.append(QStringLiteral("Terms      version %1 must be accepted; run: quorin-gateway terms show")
                         .arg(terms.value(QStringLiteral("version")).toString()));
    }
    if (part(QStringLiteral("setup")).value(QStringLiteral("required")).toBool()) {
        lines.append(QStringLiteral(
            "Setup      not finished; run: quorin-gateway setup --ae-title TITLE --port PORT"));
    }
    for (const QString &line : failureLines(status.value(QStringLiteral("failures")).toArray())) {
        lines.append(QStringLiteral("Failures   ") + line);
    }
    for (const QString &line : waitingLines(part(QStringLiteral("waiting")))) {
        lines.append(QStringLiteral("Waiting    ") + line);
    }
    const QString banner = status.value(QStringLiteral("banner")).toString();
    if (!banner.isEmpty()) {
        lines.append(QStringLiteral("Notice     ") + banner);
    }
    return lines.join(u'\n') + u'\n';
}

} // namespace gateway::terminal
