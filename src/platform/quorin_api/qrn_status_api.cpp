#include "platform/quorin_api/qrn_status_api.h"

#include "platform/quorin_api/answer_error.h"
#include "platform/quorin_api/archive_session.h"
#include "platform/quorin_api/quorin_api_client.h"

namespace gateway::platform {

void QrnStatusAPI::ping()
{
    if (m_client.isPlainArchive()) {
        const int status = askArchive(m_client);
        if ((status < 200 || status >= 300) && status != 401 && status != 403) {
            throwAnswerError({status, {}, false, {}});
        }
        return;
    }
    ApiCall call;
    call.path = "/ping";
    // A page with status 200 comes from something on the way, such as a hotel's sign-in.
    if (m_client.request(call).status != 204) {
        throwUnreadableAnswer();
    }
}

} // namespace gateway::platform
