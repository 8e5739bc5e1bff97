#include "tests/simulated_day/naive_gateway.h"

#include <QtCore/QSet>

namespace gateway::tests {

bool NaiveGateway::tryAll(const QDateTime &now, const std::function<bool(const QString &)> &cloudTakes)
{
    bool any = false;
    for (Image &image : m_images) {
        if (image.state == State::sent) {
            continue;
        }
        const bool taken = cloudTakes(image.storedName);
        image.state = taken ? State::sent : State::failed;
        image.uploadDate = taken ? now : QDateTime();
        any = any || taken;
    }
    return any;
}

/// The same date and time of day one day before, the first one where it came twice.
QDateTime NaiveGateway::aDayBefore(const QDateTime &now) const
{
    const QDateTime local = now.toTimeZone(m_zone);
    for (const int hours : {25, 24, 23}) {
        const QDateTime moment = now.addSecs(-hours * 3600);
        const QDateTime then = moment.toTimeZone(m_zone);
        if (then.date() == local.date().addDays(-1) && then.time() == local.time()) {
            return moment;
        }
    }
    qFatal("this time of day was left out the day before");
}

void NaiveGateway::letGo(const QDateTime &now)
{
    const QDateTime cutoff = aDayBefore(now);
    m_images.removeIf([&](const std::pair<const QString &, Image &> &entry) {
        return entry.second.state == State::sent && entry.second.uploadDate < cutoff;
    });
}

index::IndexCounts NaiveGateway::counts() const
{
    index::IndexCounts counts;
    QSet<int> studies;
    QSet<int> waitingStudies;
    QSet<std::pair<int, int>> series;
    QSet<std::pair<int, int>> waitingSeries;
    for (const Image &image : m_images) {
        studies.insert(image.study);
        series.insert({image.study, image.series});
        counts.total.images += image.frames;
        if (image.state == State::sent) {
            counts.syncedImages += image.frames;
        } else {
            waitingStudies.insert(image.study);
            waitingSeries.insert({image.study, image.series});
            counts.notSynced.images += image.frames;
        }
        if (image.state == State::failed) {
            counts.failedImages += image.frames;
        }
    }
    counts.total.studies = studies.size();
    counts.total.series = series.size();
    counts.notSynced.studies = waitingStudies.size();
    counts.notSynced.series = waitingSeries.size();
    return counts;
}

/// Looks back minute by minute for a time at which a bucket starts.
QDateTime NaiveGateway::startOfBucket(const QDateTime &now, qint64 length) const
{
    QDateTime moment = now.addMSecs(-(now.toMSecsSinceEpoch() % 60'000));
    while (true) {
        const QTime clock = moment.toTimeZone(m_zone).time();
        const qint64 minutes = clock.hour() * 60 + clock.minute();
        if (minutes * 60 % length == 0) {
            break;
        }
        moment = moment.addSecs(-60);
    }
    // The bucket of the 25th hour of a day, or of the hour that came twice.
    while (moment.secsTo(now) >= length) {
        moment = moment.addSecs(length);
    }
    return moment;
}

NaiveGateway::Activity
NaiveGateway::activity(const QDateTime &now, state::TransferTimeframe timeframe, std::int64_t buckets) const
{
    const qint64 length = state::bucketDuration(timeframe).count();
    Activity activity;
    activity.start = startOfBucket(now, length).addSecs(-length * (buckets - 1));
    for (std::int64_t i = 0; i < buckets; ++i) {
        const QDateTime from = activity.start.addSecs(length * i);
        const QDateTime to = from.addSecs(length);
        std::int64_t received = 0;
        std::int64_t sent = 0;
        for (const Image &image : m_images) {
            if (image.createDate >= from && image.createDate < to) {
                received += image.frames;
            }
            if (image.state == State::sent && image.uploadDate >= from && image.uploadDate < to) {
                sent += image.frames;
            }
        }
        activity.received.push_back(received);
        activity.sent.push_back(sent);
    }
    return activity;
}

} // namespace gateway::tests
