#include "upload/candidate_preparer.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"

#include <QtCore/QFile>

#include <cerrno>

namespace gateway::upload {

using platform::SendableFile;
using StoreUpload::CandidateContext;
using StoreUpload::CandidatePreparationResult;
using StoreUpload::MissingFile;
using StoreUpload::PreparedCandidate;
using StoreUpload::UnsendableFile;

namespace {

/// True where the file can be read, and isn't what it was when its rows were recorded: a disk lost or altered
/// some of it.
bool hasChanged(const index::PendingImageUpload &candidate, const SendableFile &file)
{
    return candidate.contentVersion != 0 && file.version != 0 && file.version != candidate.contentVersion;
}

/// Why nothing can be sent.
core::FailureClass classOf(const index::PendingImageUpload &candidate, const SendableFile &file)
{
    if (hasChanged(candidate, file)) {
        return core::FailureClass::fileChanged;
    }
    switch (file.fate) {
    case SendableFile::Fate::nameless:
        return core::FailureClass::withoutIdentity;
    case SendableFile::Fate::machineTrouble:
        return core::FailureClass::machineTrouble;
    case SendableFile::Fate::failed:
    case SendableFile::Fate::ready:
        break;
    }
    return core::FailureClass::fileUnreadable;
}

/// True where the file isn't the one that the rows stand for: its answer would count for another image.
bool isOfAnotherImage(const index::PendingImageUpload &candidate, const SendableFile &file)
{
    const platform::InstanceUid instance(file.identity.instance.value().trimmed());
    const QList<platform::InstanceUid> &known = candidate.originalSOPInstanceUIDs;
    return !instance.isEmpty() && !known.isEmpty() && !known.contains(instance);
}

Details sourceDetails(Details details, const QString &source, bool isFallback)
{
    details.insert(QStringLiteral("upload_source"), source);
    details.insert(QStringLiteral("compression_fallback"), StoreUpload::boolText(isFallback));
    return details;
}

} // namespace

CandidatePreparationResult CandidatePreparer::prepare(const CandidateContext &context,
                                                      const Details &details) const
{
    const QUrl sourceURL = standardized(context.candidate.fileURL);
    if (!exists(sourceURL)) {
        return reportMissing(context, details);
    }
    const Details asOriginal = sourceDetails(details, QStringLiteral("original"), false);
    if (!m_run.config.compressionEnabled) {
        return asItIs(context, sourceURL, asOriginal);
    }
    const SendableFile made = m_collaborators.converter.convertToJPEGLossless(sourceURL.toLocalFile());
    if (made.fate == SendableFile::Fate::nameless) {
        return reportUnsendable(context, classOf(context.candidate, made), asOriginal);
    }
    if (made.fate != SendableFile::Fate::ready || made.path.trimmed().isEmpty()) {
        const QString reason = made.error.isEmpty() ? QStringLiteral("empty_conversion_result")
                                                    : QStringLiteral("conversion_error");
        return fallBack(context, sourceURL, reason, details);
    }
    if (!exists(standardized(QUrl::fromLocalFile(made.path)))) {
        return fallBack(context, sourceURL, QStringLiteral("converted_file_missing"), details);
    }
    return ready(context,
                 made,
                 made.isConverted ? sourceDetails(details, QStringLiteral("converted"), false) : asOriginal);
}

CandidatePreparationResult CandidatePreparer::fallBack(const CandidateContext &context,
                                                       const QUrl &sourceURL,
                                                       const QString &reason,
                                                       Details details) const
{
    details = sourceDetails(details, QStringLiteral("original"), true);
    details.insert(QStringLiteral("compression_fallback_reason"), reason);
    return asItIs(context, sourceURL, details);
}

/// The stored file, or a copy of it with a right header.
CandidatePreparationResult
CandidatePreparer::asItIs(const CandidateContext &context, const QUrl &sourceURL, Details details) const
{
    if (!exists(sourceURL)) {
        return reportMissing(context, details);
    }
    const SendableFile made = m_collaborators.converter.makeSendable(sourceURL.toLocalFile());
    if (made.fate == SendableFile::Fate::ready) {
        return ready(context, made, details);
    }
    if (!exists(sourceURL)) {
        return reportMissing(context, details);
    }
    return reportUnsendable(context, classOf(context.candidate, made), details);
}

CandidatePreparationResult CandidatePreparer::ready(const CandidateContext &context,
                                                    const SendableFile &file,
                                                    const Details &details) const
{
    const QUrl sourceURL = standardized(context.candidate.fileURL);
    const QUrl uploadURL = standardized(QUrl::fromLocalFile(file.path));
    const PreparedCandidate prepared{context,
                                     uploadURL,
                                     uploadURL == sourceURL ? std::nullopt : std::optional(uploadURL),
                                     details,
                                     file.identity,
                                     file.version};
    if (isOfAnotherImage(context.candidate, file)) {
        cleanUp(prepared);
        return reportUnsendable(context, core::FailureClass::fileOfAnotherImage, details);
    }
    if (hasChanged(context.candidate, file)) {
        cleanUp(prepared);
        return reportUnsendable(context, core::FailureClass::fileChanged, details);
    }
    return prepared;
}

UnsendableFile CandidatePreparer::reportUnsendable(const CandidateContext &context,
                                                   core::FailureClass failureClass,
                                                   const Details &details) const
{
    log::StoreLogRecord record = {.level = log::GatewayLogLevel::error,
                                  .category = log::GatewayLogCategory::send,
                                  .action = log::GatewayLogAction::uploadAttemptFailed,
                                  .outcome = log::GatewayLogOutcome::failed,
                                  .correlationId = m_run.runId,
                                  .fileURL = standardized(context.candidate.fileURL),
                                  .attempt = context.attempt,
                                  .details = details};
    record.details.insert(QStringLiteral("unsendable_reason"), QString(core::rawValue(failureClass)));
    m_collaborators.emitter.emit(record);
    return {failureClass, details};
}

void CandidatePreparer::cleanUp(const PreparedCandidate &prepared) const
{
    // A converter that hands back the stored file by another route must not cost that file.
    if (prepared.cleanupURL &&
        standardized(*prepared.cleanupURL) != standardized(prepared.context.candidate.fileURL)) {
        QFile::remove(prepared.cleanupURL->toLocalFile());
    }
}

MissingFile CandidatePreparer::reportMissing(const CandidateContext &context, const Details &details) const
{
    m_collaborators.emitter.emit({.level = log::GatewayLogLevel::warning,
                                  .category = log::GatewayLogCategory::send,
                                  .action = log::GatewayLogAction::uploadCandidateFileMissing,
                                  .outcome = log::GatewayLogOutcome::failed,
                                  .correlationId = m_run.runId,
                                  .fileURL = standardized(context.candidate.fileURL),
                                  .attempt = context.attempt,
                                  .details = details});
    return {details};
}

QUrl standardized(const QUrl &url)
{
    return QUrl::fromLocalFile(platform::standardizedPath(url.toLocalFile()));
}

bool exists(const QUrl &url)
{
    try {
        platform::fileIdentityOrThrow(url.toLocalFile());
    } catch (const platform::FileError &error) {
        return error.code() != ENOENT && error.code() != ENOTDIR;
    }
    return true;
}

} // namespace gateway::upload
