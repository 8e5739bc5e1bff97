#pragma once

#include "account/device_sign_in.h"
#include "account/quorin_auth_view_model.h"
#include "cloud_client/archive_sign_in.h"
#include "cloud_client/archive_trial.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::cloud_client {
struct CloudConfiguration;
}

namespace gateway::account {

/// What signing in at an archive works with; all outlives it.
struct ArchiveSignInParts
{
    QuorinAuthViewModel &auth;
    const cloud_client::NetworkSettings &settings;
    const cloud_client::CloudConfiguration &configuration;
    cloud_client::DeviceGrantAPIProtocol &deviceGrants;
    std::function<QList<cloud_client::TrialStep>(std::stop_token)> trial; ///< blocks
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// What a person fills in; files are read when it is sent.
struct ArchiveEntries
{
    cloud_client::ArchiveSignIn signIn; ///< without what files hold
    QString secretFile = {};            ///< empty where the secret is in `signIn`
    bool wantsCertificate = false; ///< a client certificate is shown; the present one where no file is named
    QString certificateFile = {};
    QString keyFile = {}; ///< empty where the certificate's file holds both
};

/// How a sign-in ended; in one sentence where it came to nothing.
struct ArchiveSignInEnd
{
    bool isSignedIn = false;
    QString problem = {};
};

/// How this gateway signs in at an archive: what can be entered, a code that a person takes elsewhere, and
/// the trial of what the archive does. Screens and commands go by the same.
///
/// Owner: app; exactly one exists, at any kind of cloud. Thread: main.
class ArchiveSignInViewModel : public QObject
{
    Q_OBJECT

public:
    using ShowCode = std::function<void(const cloud_client::DeviceCode &)>;

    explicit ArchiveSignInViewModel(ArchiveSignInParts parts);

    /// The archive's address, for people.
    QString address() const;

    /// The place that keeps the session has answered.
    bool isKnown() const;

    /// The session, or the one that was ended: what stands in it needn't be said again.
    std::optional<QString> presentSession() const;

    /// Why nobody can sign in so, in one sentence; nothing where it can be tried.
    std::optional<QString> issueWith(const cloud_client::ArchiveSignIn &signIn) const;

    /// Signs in. A sign-in that is under way here, such as a code that somebody waits for, is given up then.
    ///
    /// \param show  takes the code that somebody has to be told, where the method is of that kind.
    /// \param stop  gives it up.
    QCoro::Task<ArchiveSignInEnd>
    signIn(cloud_client::ArchiveSignIn wanted, ShowCode show, std::stop_token stop);

    /// Signs in by what was filled in. Roots and headers of the present session stay.
    QCoro::Task<ArchiveSignInEnd> signInBy(ArchiveEntries entries);

    /// Gives up the sign-in that is under way, whoever began it.
    void cancel();

    /// The code that somebody has to enter elsewhere, while it is waited for.
    const std::optional<cloud_client::DeviceCode> &code() const { return m_code; }

    /// For how long it can still be entered.
    std::chrono::seconds codeLeft() const;

    /// Tries out all that the archive has to do, with the present session.
    ///
    /// \return nothing when another trial is under way.
    QCoro::Task<std::optional<QList<cloud_client::TrialStep>>> test(std::stop_token stop);
    bool isTesting() const { return m_isTesting; }

    /// What the last trial of this session has shown.
    const QList<cloud_client::TrialStep> &steps() const { return m_steps; }

Q_SIGNALS:
    /// Something that can be read here has another value.
    void changed();

private:
    using Attempt = std::shared_ptr<std::stop_source>;

    /// What was filled in, with what its files hold, or why that can't be had.
    struct WithFiles
    {
        cloud_client::ArchiveSignIn signIn = {};
        std::optional<QString> problem = std::nullopt;
    };

    static WithFiles withFiles(const ArchiveEntries &entries);
    QCoro::Task<WithFiles> readFiles(ArchiveEntries entries, Attempt attempt);
    void completeFromSession(WithFiles &read, bool wantsCertificate) const;
    bool isPresentByTheSameGrant(const cloud_client::ArchiveSignIn &signIn) const;
    Attempt begin();
    void end(const Attempt &attempt);
    QCoro::Task<ArchiveSignInEnd>
    carryOut(cloud_client::ArchiveSignIn wanted, ShowCode show, Attempt attempt);
    QCoro::Task<ArchiveSignInEnd> beginSession(cloud_client::ArchiveSignIn wanted,
                                               std::optional<cloud_client::DeviceTokens> granted,
                                               Attempt attempt);
    QCoro::Task<DeviceSignInEnd>
    askForPerson(cloud_client::ArchiveSignIn wanted, ShowCode show, Attempt attempt);
    QCoro::Task<> countDown(Attempt attempt);
    void showCode(const Attempt &attempt, const cloud_client::DeviceCode &code);
    void hideCode();
    void authChanged();

    const ArchiveSignInParts m_parts;
    Attempt m_attempt; // the one under way; null for none
    std::optional<cloud_client::DeviceCode> m_code;
    std::chrono::nanoseconds m_codeEnds{0}; // of the monotonic clock
    bool m_isTesting = false;
    QList<cloud_client::TrialStep> m_steps;
    quint64 m_session = 0;       // the one that was tried
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
