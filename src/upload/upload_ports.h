#pragma once

#include "cloud_client/cloud_session.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <exception>
#include <optional>

namespace gateway::upload {

/// Whether somebody is signed in, and where. Thread: any.
class UploadSession
{
public:
    virtual ~UploadSession() = default;

    /// The session that stands now.
    virtual cloud_client::CloudSession present() = 0;
};

/// Finds out whether a failed upload was refused for unaccepted terms. Thread: any, several at a time.
class TermsFollowUp
{
public:
    virtual ~TermsFollowUp() = default;

    /// Blocks while the cloud is asked; never throws.
    ///
    /// \param error    what the upload threw.
    /// \param fileURL  the attempt's file; the first one's for a batch.
    virtual void
    checkTermsAfterUploadFailure(const std::exception &error, const QString &runId, const QUrl &fileURL) = 0;
};

/// The service that lets go of what the retention policy no longer keeps. Thread: any.
class GatewayAutoDeleteCleanupServicing
{
public:
    virtual ~GatewayAutoDeleteCleanupServicing() = default;

    /// Queues a cleanup and returns at once.
    ///
    /// \param trigger         a short word for the log.
    /// \param correlationId   the run that asks, if one does.
    /// \param overrideCutoff  stands for now: the policy still goes from there.
    virtual void runCleanup(const QString &trigger,
                            const std::optional<QString> &correlationId,
                            const std::optional<QDateTime> &overrideCutoff) = 0;
};

} // namespace gateway::upload
