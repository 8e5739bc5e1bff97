#include "upload/candidate_preparer.h"

#include "platform/files/files.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace gateway::upload {

using StoreUpload::CandidateContext;
using StoreUpload::CandidatePreparationResult;
using StoreUpload::MissingFile;
using StoreUpload::PreparedCandidate;

namespace {

PreparedCandidate original(const CandidateContext &context, const QUrl &sourceURL, Details details)
{
    details.insert(QStringLiteral("upload_source"), QStringLiteral("original"));
    details.insert(QStringLiteral("compression_fallback"), StoreUpload::boolText(false));
    return {context, sourceURL, std::nullopt, details};
}

PreparedCandidate converted(const CandidateContext &context, const QUrl &outputURL, Details details)
{
    details.insert(QStringLiteral("upload_source"), QStringLiteral("converted"));
    details.insert(QStringLiteral("compression_fallback"), StoreUpload::boolText(false));
    return {context, outputURL, outputURL, details};
}

} // namespace

CandidatePreparationResult CandidatePreparer::prepare(const CandidateContext &context,
                                                      const Details &details) const
{
    const QUrl sourceURL = standardized(context.candidate.fileURL);
    if (!exists(sourceURL)) {
        return reportMissing(context, details);
    }
    if (!m_run.config.compressionEnabled) {
        return original(context, sourceURL, details);
    }
    const platform::Conversion conversion = m_with.converter.convertToJPEGLossless(sourceURL.toLocalFile());
    if (conversion.path.trimmed().isEmpty()) {
        const QString reason = conversion.error.isEmpty() ? QStringLiteral("empty_conversion_result")
                                                          : QStringLiteral("conversion_error");
        return fallBack(context, sourceURL, reason, details);
    }
    const QUrl outputURL = standardized(QUrl::fromLocalFile(conversion.path));
    if (outputURL == sourceURL) {
        return original(context, sourceURL, details);
    }
    if (!exists(outputURL)) {
        return fallBack(context, sourceURL, QStringLiteral("converted_file_missing"), details);
    }
    return converted(context, outputURL, details);
}

CandidatePreparationResult CandidatePreparer::fallBack(const CandidateContext &context,
                                                       const QUrl &sourceURL,
                                                       const QString &reason,
                                                       Details details) const
{
    details.insert(QStringLiteral("upload_source"), QStringLiteral("original"));
    details.insert(QStringLiteral("compression_fallback"), StoreUpload::boolText(true));
    details.insert(QStringLiteral("compression_fallback_reason"), reason);
    if (!exists(sourceURL)) {
        return reportMissing(context, details);
    }
    return PreparedCandidate{context, sourceURL, std::nullopt, details};
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
    m_with.emitter.emit({.level = log::GatewayLogLevel::warning,
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
    return QFileInfo::exists(url.toLocalFile());
}

} // namespace gateway::upload
