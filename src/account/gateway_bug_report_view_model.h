#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace gateway::cloud_client {
class QrnBugReportAPIProtocol;
struct QrnBugReportRequest;
} // namespace gateway::cloud_client

namespace gateway::platform {
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// What a user tells of a problem. Thread: a value, any.
struct GatewayBugReportForm
{
    QString descriptionText;
    bool isReproducible = false;
    bool happenedDuringImport = false;
    bool happenedDuringOpening = false;
    QList<QUrl> attachments = {};
    bool includesSupportBundle = false;

    /// Files belong to problems with importing or opening: they are needed for those, and sent with those
    /// only.
    bool wantsAttachments() const { return happenedDuringImport || happenedDuringOpening; }
};

/// What the report model works with; all outlive it.
struct GatewayBugReportParts
{
    cloud_client::QrnBugReportAPIProtocol &bugReportAPI;
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;

    /// Makes the text of a support bundle; empty where there is none to be had.
    std::function<QCoro::Task<QString>()> collectSupportBundle = {};
};

/// Sends a report of a problem to the service. A report that fails keeps all that was typed.
///
/// Owner: the report window, or whoever stands for it. Thread: main.
class GatewayBugReportViewModel : public QObject
{
    Q_OBJECT

public:
    explicit GatewayBugReportViewModel(const GatewayBugReportParts &parts);
    ~GatewayBugReportViewModel() override;

    const GatewayBugReportForm &form() const { return m_form; }

    /// Takes what is entered. A support bundle is made when it is asked for, and forgotten when it isn't any
    /// more, so that the next one is of its time.
    void setForm(const GatewayBugReportForm &form);

    /// The text that goes along and is saved, to the letter; nothing while none is wanted, or it is being
    /// made.
    const std::optional<QString> &supportBundle() const { return m_supportBundle; }
    bool isCollecting() const { return m_form.includesSupportBundle && !m_supportBundle; }

    bool isSending() const { return m_isSending; }

    /// How far the sending has come, in words.
    const QString &progressText() const { return m_progressText; }

    bool didSendSuccessfully() const { return m_didSendSuccessfully; }

    const std::optional<QString> &errorMessage() const { return m_errorMessage; }

    /// Takes the message away, as the alert that shows it does when it closes.
    void clearErrorMessage();

    /// The form can't be sent as it is, or is being sent.
    bool isSubmitDisabled() const;

    /// Sends the form; does nothing while `isSubmitDisabled`.
    QCoro::Task<> send();

    /// Writes the support bundle to a file. \return why that failed; nothing on success.
    QCoro::Task<std::optional<QString>> saveSupportBundle(QString path);

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    cloud_client::QrnBugReportRequest request() const;
    QCoro::Task<std::optional<QString>> deliver(cloud_client::QrnBugReportRequest request);
    QCoro::Task<> collect(int number);
    void showProgress(double fraction);

    const GatewayBugReportParts m_parts;
    GatewayBugReportForm m_form;
    std::optional<QString> m_supportBundle;
    int m_bundleNumber = 0; // of the one that is wanted
    bool m_isSending = false;
    QString m_progressText;
    bool m_didSendSuccessfully = false;
    std::optional<QString> m_errorMessage;
    std::shared_ptr<const bool> m_alive =
        std::make_shared<const bool>(true); // progress after death is dropped
    platform::TaskScope m_scope;            // last: drained before the fields go
};

} // namespace gateway::account
