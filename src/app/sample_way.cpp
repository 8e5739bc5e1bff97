#include "app/sample_way.h"

#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "index/sync_state.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/inbox_files.h"

namespace gateway::app {

using platform::InstanceIdentity;
using wizard::LocalSample;

namespace {

/// Who the sample says that it comes from.
const QString kSampleTitle = QStringLiteral("QUORIN_SAMPLE");

bool isNothingThere(std::optional<int> status)
{
    return status == 404 || status == 410;
}

} // namespace

std::optional<platform::SampleDestination> SampleWay::listener()
{
    const state::ListenerFigures figures = m_parts.receiving.listenerWatch.figures();
    if (figures.state != state::ListenerState::listening) {
        return std::nullopt;
    }
    const QString &bound = m_parts.ground.options.bindAddress;
    return platform::SampleDestination{.address = bound.isEmpty() ? QStringLiteral("127.0.0.1") : bound,
                                       .port = figures.port,
                                       .calledTitle = figures.aeTitle,
                                       .callingTitle = kSampleTitle};
}

platform::SampleOutcome SampleWay::send(const platform::SampleDestination &destination,
                                        const InstanceIdentity &sample,
                                        const QDateTime &madeAt)
{
    return platform::sendSample(platform::helperProgramPath(), destination, sample, madeAt);
}

LocalSample SampleWay::look(const InstanceIdentity &sample)
{
    if (const auto here = recorded(sample)) {
        return *here;
    }
    // Before the rows: what leaves the inbox has them.
    const bool isInboxEmpty =
        platform::completeInboxFiles(m_parts.receiving.incomingFolders.present()).isEmpty();
    if (const auto here = recorded(sample)) {
        return *here;
    }
    return {isInboxEmpty && isSurelyAbsent(sample.study) ? LocalSample::State::absent
                                                         : LocalSample::State::mayYetCome};
}

/// Nothing where the index hasn't it, or can't be read.
std::optional<LocalSample> SampleWay::recorded(const InstanceIdentity &sample) const
{
    const QList<index::LocalSeriesSnapshot> series =
        m_parts.ground.index.seriesSnapshots(sample.study.value());
    if (series.isEmpty()) {
        return std::nullopt;
    }
    const auto state = static_cast<index::SyncState>(series.first().syncState);
    if (state == index::SyncState::synced) {
        return LocalSample{LocalSample::State::uploaded};
    }
    if (state == index::SyncState::failed) {
        return LocalSample{LocalSample::State::failed, failureOf(sample.study)};
    }
    const auto closure = m_parts.sending.coordinator->closure();
    return LocalSample{LocalSample::State::waiting, closure ? std::optional(closure->cause) : std::nullopt};
}

/// A sample that failed now is among the newest failures.
std::optional<core::FailureClass> SampleWay::failureOf(const platform::StudyUid &study) const
{
    constexpr int kNewest = 200;
    index::UploadFailureCursor cursor;
    const QList<index::UploadFailure> failures = m_parts.ground.index.failedUploads().next(kNewest, cursor);
    for (const index::UploadFailure &failure : failures) {
        if (failure.studyInstanceUID == study) {
            return core::failureClassOf(failure.failureClass);
        }
    }
    return std::nullopt;
}

bool SampleWay::isSurelyAbsent(const platform::StudyUid &study) const
{
    index::DicomDB &index = m_parts.ground.index;
    // An index that can't be read has no series either.
    return index.imagesOutsideCloud({study.value()}).has_value() &&
           index.seriesSnapshots(study.value()).isEmpty();
}

bool SampleWay::removeHere(const InstanceIdentity &sample)
{
    index::DicomDB &index = m_parts.ground.index;
    index.deleteStudies({sample.study.value()}, std::nullopt);
    index.postLocalSyncStateChanged();
    return isSurelyAbsent(sample.study);
}

void SampleWay::requestUpload()
{
    m_parts.receiving.store->requestUpload(QStringLiteral("try_it_now"), upload::UploadUrgency::openNow);
}

bool SampleWay::isUploading()
{
    return m_parts.sending.runWatcher.figures().isRunning;
}

bool SampleWay::isSignedIn()
{
    return m_parts.account.auth.state().isSignedIn();
}

bool SampleWay::isFound(const InstanceIdentity &sample)
{
    return m_parts.account.stowApi.isFound(m_parts.account.client.session(), sample);
}

void SampleWay::removeInCloud(const InstanceIdentity &sample)
{
    try {
        m_parts.account.deleteApi.deleteStudy(sample.study.value(), core::deviceId(m_parts.ground.defaults));
    } catch (const cloud_client::QrnErrorResponse &error) {
        if (error.kind != cloud_client::QrnErrorKind::notFound && !isNothingThere(error.responseCode)) {
            throw;
        }
    } catch (const cloud_client::AFError &error) {
        if (!isNothingThere(error.responseCode)) {
            throw;
        }
    }
}

} // namespace gateway::app
