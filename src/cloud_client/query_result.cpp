#include "cloud_client/query_result.h"

#include "cloud_client/answer_error.h"
#include "cloud_client/network_json.h"

namespace gateway::cloud_client {

QVariantList queryResult(const HttpResponse &response)
{
    if (response.status == 204) {
        return {};
    }
    const bool isJson =
        response.contentType == "application/dicom+json" || response.contentType == "application/json";
    const QVariant found = isJson ? parseForeignJson(response.body).value_or(QVariant()) : QVariant();
    if (found.typeId() != QMetaType::QVariantList) {
        throwUnusableAnswer(response);
    }
    return found.toList();
}

} // namespace gateway::cloud_client
