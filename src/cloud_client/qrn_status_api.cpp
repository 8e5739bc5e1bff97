#include "cloud_client/qrn_status_api.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/archive_session.h"
#include "cloud_client/quorin_api_client.h"

namespace gateway::cloud_client {

void QrnStatusAPI::ping()
{
    if (m_client.isPlainArchive()) {
        const ArchiveAnswer answer = askArchive(m_client);
        if (answer.meaning == ArchiveAnswer::Meaning::queryRefused && answer.status != 403) {
            checkArchiveStores(m_client); // where neither is known the address leads nowhere
        }
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

} // namespace gateway::cloud_client
