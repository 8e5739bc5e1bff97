#include "upload/instance_verifier.h"

#include "platform/quorin_api/quorin_error.h"
#include "upload/failure_reason.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QScopeGuard>

#include <algorithm>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::PreparedCandidate;

namespace {

AttemptEnd failed(FailureClass failureClass, std::int64_t code = 0)
{
    return {.result = AttemptResult::failed, .failure = {failureClass, code}};
}

/// An archive may give the decoded form of what it was sent, and a header of its own.
qint64 mostBytes(const PreparedCandidate &prepared)
{
    constexpr qint64 kRoom = 16 << 20;
    const qint64 stored = QFileInfo(prepared.context.candidate.fileURL.toLocalFile()).size();
    return 2 * std::max(stored, QFileInfo(prepared.uploadURL.toLocalFile()).size()) + kRoom;
}

/// Why an instance that is called stored could not be fetched. One that isn't there, or can't be had from
/// this archive, can't be compared; all else is as with an upload.
AttemptEnd endOf(const std::exception &error, const PreparedCandidate &prepared)
{
    const AttemptEnd end = failedEnd(error, prepared);
    const FailureClass failureClass = end.failure.failureClass;
    const bool isMissing = failureClass == FailureClass::noImageService ||
                           failureClass == FailureClass::kindNotSupported ||
                           failureClass == FailureClass::unexpectedAnswer;
    return isMissing ? failed(FailureClass::notComparable, end.failure.code) : end;
}

} // namespace

AttemptEnd InstanceVerifier::confirm(const PreparedCandidate &prepared) const
{
    const platform::InstanceIdentity &identity = prepared.identity;
    if (!m_with.index.mayOtherVersionBeSent({identity.instance, prepared.version})) {
        return StoreUpload::kUploaded;
    }
    const QString fetched = m_with.converter.temporaryPath();
    if (identity.study.isEmpty() || identity.series.isEmpty()) {
        return failed(FailureClass::notComparable); // nobody could be asked for it
    }
    if (fetched.isEmpty()) {
        return failed(FailureClass::notConfirmed);
    }
    const auto cleanUp = qScopeGuard([&fetched] { QFile::remove(fetched); });
    try {
        m_with.cloud.retrieve(identity, fetched, mostBytes(prepared));
    } catch (const std::exception &error) {
        return endOf(error, prepared);
    }
    switch (m_with.converter.compare(
        fetched, prepared.uploadURL.toLocalFile(), prepared.context.candidate.fileURL.toLocalFile())) {
    case platform::Likeness::same:
        return {.result = AttemptResult::success, .isVerified = true};
    case platform::Likeness::different:
        return failed(FailureClass::anotherVersionInCloud);
    case platform::Likeness::unknown:
        break;
    }
    return failed(FailureClass::notConfirmed);
}

} // namespace gateway::upload
