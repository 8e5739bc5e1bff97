#include "platform/quorin_api/qrn_status_api.h"

#include "platform/quorin_api/answer_error.h"
#include "platform/quorin_api/archive_session.h"
#include "platform/quorin_api/quorin_api_client.h"

namespace gateway::platform {

void QrnStatusAPI::ping()
{
    if (m_client.isPlainArchive()) {
        askArchive(m_client);
        return;
    }
    ApiCall call;
    call.path = "/ping";
    // A page with status 200 comes from something on the way, such as a hotel's sign-in.
    const HttpResponse response = m_client.request(call);
    if (response.status != 204) {
        throwUnusableAnswer(response);
    }
}

} // namespace gateway::platform
