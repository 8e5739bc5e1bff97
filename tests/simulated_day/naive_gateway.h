#pragma once

#include "index/pending_image_upload.h"
#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <cstdint>
#include <functional>
#include <vector>

namespace gateway::tests {

/// A gateway as a list of images, reckoned anew for each question, in the plainest way.
///
/// Owner: a test. Thread: one at a time.
class NaiveGateway
{
public:
    enum class State
    {
        waiting,
        sent,
        failed
    };

    struct Image
    {
        int study = 0;
        int series = 0;
        int frames = 1;
        QString storedName; ///< of its file, by which the cloud knows it
        QDateTime createDate;
        State state = State::waiting;
        QDateTime uploadDate = {};
    };

    explicit NaiveGateway(const QTimeZone &zone) : m_zone(zone) {}

    /// An image came, perhaps again.
    void receive(const QString &uid, const Image &image) { m_images.insert(uid, image); }

    /// A run tried everything that isn't sent. \return whether the cloud took any.
    bool tryAll(const QDateTime &now, const std::function<bool(const QString &storedName)> &cloudTakes);

    /// Lets go of what was uploaded a day ago by the clock.
    void letGo(const QDateTime &now);

    index::IndexCounts counts() const;

    /// The two series of the activity, and where they begin.
    struct Activity
    {
        QDateTime start;
        std::vector<std::int64_t> received;
        std::vector<std::int64_t> sent;
    };
    Activity activity(const QDateTime &now, state::TransferTimeframe timeframe, std::int64_t buckets) const;

private:
    QDateTime startOfBucket(const QDateTime &now, qint64 length) const;
    QDateTime aDayBefore(const QDateTime &now) const;

    const QTimeZone m_zone;
    QMap<QString, Image> m_images; // by their UID
};

} // namespace gateway::tests
