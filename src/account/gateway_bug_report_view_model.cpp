#include "account/gateway_bug_report_view_model.h"

#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSaveFile>
#include <QtCore/QTemporaryDir>

#include <utility>

namespace gateway::account {

namespace {

/// \return why the file can't be written; nothing on success.
std::optional<QString> written(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    return isWritten ? std::nullopt : std::optional(file.errorString());
}

/// Sends the report, with the bundle as a file beside the others where there is one.
void sendWith(cloud_client::QrnBugReportAPIProtocol &api,
              cloud_client::QrnBugReportRequest request,
              const std::optional<QString> &bundle,
              const cloud_client::UploadProgressCallback &progress)
{
    const QTemporaryDir folder;
    if (bundle) {
        const QString path = folder.filePath(QStringLiteral("support-bundle.txt"));
        if (const auto problem = written(path, bundle->toUtf8())) {
            throw cloud_client::AFError(*problem, std::nullopt);
        }
        request.attachments.append(QUrl::fromLocalFile(path));
    }
    api.send(request, progress);
}

} // namespace

GatewayBugReportViewModel::GatewayBugReportViewModel(const GatewayBugReportParts &parts)
    : m_parts(parts), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewayBugReportViewModel");
}

GatewayBugReportViewModel::~GatewayBugReportViewModel()
{
    close();
}

void GatewayBugReportViewModel::close()
{
    m_scope.close();
}

void GatewayBugReportViewModel::setForm(const GatewayBugReportForm &form)
{
    const bool wasWanted = m_form.includesSupportBundle;
    m_form = form;
    if (form.includesSupportBundle != wasWanted) {
        m_supportBundle.reset();
        ++m_bundleNumber;
        if (form.includesSupportBundle && m_parts.collectSupportBundle) {
            m_scope.start(collect(m_bundleNumber));
        }
    }
    Q_EMIT changed();
}

QCoro::Task<> GatewayBugReportViewModel::collect(int number)
{
    const auto operation = m_scope.enter();
    const QString bundle = co_await m_parts.collectSupportBundle();
    if (number == m_bundleNumber && !m_scope.stopToken().stop_requested()) {
        m_supportBundle = bundle;
        Q_EMIT changed();
    }
}

QCoro::Task<std::optional<QString>> GatewayBugReportViewModel::saveSupportBundle(QString path)
{
    const auto operation = m_scope.enter();
    const QByteArray bytes = m_supportBundle.value_or(QString()).toUtf8();
    const std::optional<QString> problem =
        co_await platform::onPool(m_parts.main, m_parts.pool, [path, bytes] { return written(path, bytes); });
    co_return problem;
}

void GatewayBugReportViewModel::clearErrorMessage()
{
    m_errorMessage.reset();
    Q_EMIT changed();
}

bool GatewayBugReportViewModel::isSubmitDisabled() const
{
    if (m_form.descriptionText.trimmed().isEmpty()) {
        return true;
    }
    if (m_form.wantsAttachments() && m_form.attachments.isEmpty()) {
        return true;
    }
    return m_isSending || isCollecting();
}

QCoro::Task<> GatewayBugReportViewModel::send()
{
    if (isSubmitDisabled() || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    m_isSending = true;
    m_progressText = QCoreApplication::translate("BugReport", "Sending...");
    m_didSendSuccessfully = false;
    m_errorMessage.reset();
    Q_EMIT changed();

    const std::optional<QString> error = co_await deliver(request());

    m_isSending = false;
    m_didSendSuccessfully = !error;
    m_errorMessage = error;
    Q_EMIT changed();
}

cloud_client::QrnBugReportRequest GatewayBugReportViewModel::request() const
{
    return {m_form.isReproducible,
            m_form.happenedDuringImport,
            m_form.happenedDuringOpening,
            m_form.descriptionText.trimmed(),
            m_form.wantsAttachments() ? m_form.attachments : QList<QUrl>(),
            core::deviceId(m_parts.defaults)};
}

/// \return why it failed; nothing on success.
QCoro::Task<std::optional<QString>>
GatewayBugReportViewModel::deliver(cloud_client::QrnBugReportRequest request)
{
    const auto progress = [this, &main = m_parts.main, alive = std::weak_ptr<const void>(m_alive)](
                              const cloud_client::UploadProgress &reported) {
        main.post(alive, [this, fraction = reported.fractionCompleted()] { showProgress(fraction); });
    };
    try {
        co_await platform::onPool(
            m_parts.main,
            m_parts.pool,
            [api = &m_parts.bugReportAPI, request = std::move(request), bundle = m_supportBundle, progress] {
                sendWith(*api, request, bundle, progress);
            });
    } catch (const std::exception &error) {
        co_return cloud_client::localizedDescription(error);
    }
    co_return std::nullopt;
}

void GatewayBugReportViewModel::showProgress(double fraction)
{
    m_progressText = QCoreApplication::translate("BugReport", "Sending files %1%")
                         .arg(QString::asprintf("%.0f", fraction * 100.0));
    Q_EMIT changed();
}

} // namespace gateway::account
