#pragma once

#include "platform/concurrency/clock.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>
#include <stop_token>

namespace gateway::cloud_client {

class QuorinApiClient;
struct SampleInstance;

/// What one step of a trial showed.
struct TrialStep
{
    enum class Outcome
    {
        good,
        remark, ///< it works without; the words say what follows
        failed  ///< images can't go there so; the words say what to do
    };

    QString step; ///< a word or two for what was tried
    Outcome outcome = Outcome::good;
    QString words;
};

/// Tries out everything that an archive has to do for the gateway, with a small image of nobody: whether it
/// is found, who answers there, whether it takes the sign-in, answers queries, stores, finds what it stored
/// and gives it back as it was. At last the image is deleted, where the archive permits that.
///
/// Owner: app. Thread: any that may block for minutes.
class ArchiveTrial
{
public:
    /// \param client  with the session to try, at a plain archive; outlives this, as the clock does.
    /// \param folder  for a temporary file.
    ArchiveTrial(QuorinApiClient &client, platform::Clock &clock, QString folder)
        : m_client(client), m_clock(clock), m_folder(std::move(folder))
    {
    }

    /// Tries one step after the other, and ends with the first without which no other makes sense. Never
    /// throws.
    QList<TrialStep> run(const std::stop_token &stop) const;

private:
    TrialStep lookUpName() const;
    TrialStep connect() const;
    QList<TrialStep> signIn() const;
    QList<TrialStep> tryImage(const std::stop_token &stop) const;
    TrialStep store(const SampleInstance &sample, const QString &path) const;
    QString takeBack(const SampleInstance &sample) const;
    std::optional<TrialStep> find(const platform::InstanceIdentity &identity,
                                  const std::stop_token &stop) const;
    static TrialStep notFound(bool mayComeLater);
    TrialStep readBack(const SampleInstance &sample, const QString &path) const;
    TrialStep remove(const platform::StudyUid &study, bool wasThere) const;

    QuorinApiClient &m_client;
    platform::Clock &m_clock;
    const QString m_folder;
};

} // namespace gateway::cloud_client
