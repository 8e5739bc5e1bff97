#pragma once

#include "index/deletion_results.h"
#include "index/local_snapshots.h"
#include "index/outside_cloud.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::index {

/// What a person may look at in the index, and take out of it. Nothing here throws; a failure shows as
/// nothing found or nothing deleted.
///
/// Thread: any; calls block.
class StudyIndex
{
public:
    virtual ~StudyIndex() = default;

    /// All studies, the latest acquired first.
    virtual QList<LocalStudySnapshot> studySnapshots() = 0;

    /// The series of one study, by number. \param identity  the `id` of a study's snapshot.
    virtual QList<LocalSeriesSnapshot> seriesSnapshots(const QString &identity) = 0;

    /// The files of one study, those whose upload failed first; at most `limit`.
    virtual QList<QUrl> studyFiles(const QString &identity, int limit) = 0;

    /// What of these studies isn't in the cloud; nothing where that can't be read.
    virtual std::optional<OutsideCloud> imagesOutsideCloud(const QStringList &studies) = 0;

    /// The same of series of one study.
    virtual std::optional<OutsideCloud> seriesImagesOutsideCloud(const QString &study,
                                                                 const QStringList &series) = 0;

    /// Deletes studies with all that is theirs, whatever their state, in one transaction, and then the files
    /// to which no row refers any more. Doesn't roll up and posts nothing.
    ///
    /// \param studyInstanceUIDs  identities: the `id` of snapshots.
    /// \param known  what may be lost: a study with more images that aren't in the cloud stays, and counts as
    ///               failed. Nothing where any may.
    virtual DeletionCounts deleteStudies(const QStringList &studyInstanceUIDs,
                                         const std::optional<OutsideCloud> &known) = 0;

    /// The same for series of one study, which stays, if need be empty.
    virtual DeletionCounts deleteSeries(const QString &studyInstanceUID,
                                        const QStringList &seriesInstanceUIDs,
                                        const std::optional<OutsideCloud> &known) = 0;
};

} // namespace gateway::index
