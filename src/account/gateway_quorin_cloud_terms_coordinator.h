#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::cloud_client {
class QrnQuorinCloudTermsAPIProtocol;
struct QrnQuorinCloudTermsResponse;
struct QrnQuorinCloudTermsStatusResponse;
} // namespace gateway::cloud_client

namespace gateway::platform {
class Clock;
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// The machine and the build that answer the terms. Thread: a value, any.
struct TermsSigner
{
    QString deviceName;
    QString osVersion;
    QString quorinVersion;

    /// \param hostName       "Mac" stands in where the system gives none.
    /// \param clientVersion  of this build, trimmed; "1.0.0" stands in where it is absent or empty.
    static TermsSigner
    from(const QString &hostName, const QString &osVersion, const std::optional<QString> &clientVersion);

    /// This machine.
    static TermsSigner here(const std::optional<QString> &clientVersion);
};

/// What the terms model works with; all outlive it.
struct GatewayQuorinCloudTermsParts
{
    cloud_client::QrnQuorinCloudTermsAPIProtocol &api;
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// The terms that a user has to answer: loads them, and sends the answer.
///
/// Whether terms were accepted is known to the service alone. `reset` also ends what is under way: answers
/// that arrive after it change nothing here.
///
/// Owner: each host of a terms screen has one of its own. Thread: main.
class GatewayQuorinCloudTermsCoordinator : public QObject
{
    Q_OBJECT

public:
    GatewayQuorinCloudTermsCoordinator(const GatewayQuorinCloudTermsParts &parts, TermsSigner signer);
    ~GatewayQuorinCloudTermsCoordinator() override;

    /// The terms screen is up: there are terms to be answered.
    bool showTerms() const { return m_shown.showTerms; }

    /// The full text to show.
    const QString &termsText() const { return m_shown.termsText; }

    /// The version that an answer refers to.
    const QString &termsVersion() const { return m_shown.termsVersion; }

    /// A line above the text.
    const std::optional<QString> &reasonMessage() const { return m_shown.reasonMessage; }

    /// A request is in flight; no operation starts meanwhile.
    bool isLoading() const { return m_shown.isLoading; }

    /// The last failure, for the user.
    const std::optional<QString> &errorMessage() const { return m_shown.errorMessage; }

    /// Asks whether terms must be accepted, and loads them if so.
    QCoro::Task<> refreshStatus();

    /// Accepts the terms shown. \return true when the service took it; else `errorMessage` tells why not.
    QCoro::Task<bool> accept();

    /// Declines the terms shown. \return as `accept`.
    QCoro::Task<bool> decline();

    /// Puts every field back to its initial value.
    void reset();

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    struct Shown
    {
        bool showTerms = false;
        QString termsText;
        QString termsVersion;
        std::optional<QString> reasonMessage;
        bool isLoading = false;
        std::optional<QString> errorMessage;
    };

    bool mayStart() const;
    bool hasVersion();
    void begin();
    void end();
    void failCheck(const std::exception &error);
    void present(const cloud_client::QrnQuorinCloudTermsStatusResponse &status,
                 const cloud_client::QrnQuorinCloudTermsResponse &terms);
    QCoro::Task<> check(quint64 epoch);
    QCoro::Task<bool> answer(std::function<void()> send, QString fallback);

    const GatewayQuorinCloudTermsParts m_parts;
    const TermsSigner m_signer;
    Shown m_shown;
    quint64 m_epoch = 0;         // counts resets
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
