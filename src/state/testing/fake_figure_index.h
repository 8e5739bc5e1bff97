#pragma once

#include "index/figure_index.h"

#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

namespace gateway::state::testing {

/// An index of plain rows in memory, counted naively, with an empty file store. Thread: main; any for the
/// file store.
class FakeFigureIndex final : public index::FigureIndex
{
public:
    struct Image
    {
        QDateTime createDate;
        int syncState = 0;
        QDateTime uploadDate = {};
    };

    /// The studies and series that `counts` tells; images are counted.
    index::EntityCounts parents;
    std::vector<Image> images;
    int countings = 0;
    mutable int fetches = 0;
    std::atomic<int> measurements = 0; ///< of the file store, that began

    index::IndexCounts counts() override
    {
        ++countings;
        const auto inState = [this](int state) {
            return std::count_if(images.begin(), images.end(), [state](const Image &image) {
                return image.syncState == state;
            });
        };
        const auto all = static_cast<std::int64_t>(images.size());
        index::IndexCounts counts;
        counts.total = {parents.studies, parents.series, all};
        counts.notSynced = {parents.studies, parents.series, all - inState(1)};
        counts.syncedImages = inState(1);
        counts.failedImages = inState(2);
        return counts;
    }

    index::TransferCounts transferBuckets(const QDateTime &start,
                                          const QDateTime &end,
                                          std::chrono::seconds bucketDuration,
                                          int count) const override
    {
        ++fetches;
        index::TransferCounts buckets;
        buckets.received.resize(static_cast<std::size_t>(count));
        buckets.sent.resize(static_cast<std::size_t>(count));
        const auto add = [&](std::vector<std::int64_t> &series, const QDateTime &moment) {
            if (moment.isValid() && moment >= start && moment < end) {
                ++series.at(static_cast<std::size_t>(start.secsTo(moment) / bucketDuration.count()));
            }
        };
        for (const Image &image : images) {
            add(buckets.received, image.createDate);
            if (image.syncState == 1) {
                add(buckets.sent, image.uploadDate);
            }
        }
        return buckets;
    }

    std::optional<index::IndexFigures> figures() const override { return std::nullopt; }

    QString fileStoreRoot() override
    {
        ++measurements;
        return m_fileStore.path();
    }

    /// A file of the file store.
    QString pathInFileStore(const QString &name) const { return m_fileStore.filePath(name); }

private:
    QTemporaryDir m_fileStore;
};

} // namespace gateway::state::testing
