#include "account/gateway_bug_report_view_model.h"

#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"

#include <utility>

namespace gateway::account {

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
    m_form = form;
    Q_EMIT changed();
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
    return m_isSending;
}

QCoro::Task<> GatewayBugReportViewModel::send()
{
    if (isSubmitDisabled() || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    m_isSending = true;
    m_progressText = QStringLiteral("Sending...");
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
        co_await platform::onPool(m_parts.main,
                                  m_parts.pool,
                                  [api = &m_parts.bugReportAPI, request = std::move(request), progress] {
                                      api->send(request, progress);
                                  });
    } catch (const std::exception &error) {
        co_return cloud_client::localizedDescription(error);
    }
    co_return std::nullopt;
}

void GatewayBugReportViewModel::showProgress(double fraction)
{
    m_progressText = QString::asprintf("Sending files %.0f%%", fraction * 100.0);
    Q_EMIT changed();
}

} // namespace gateway::account
