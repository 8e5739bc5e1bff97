#pragma once

#include "cloud_client/http_message.h"

#include <QtCore/QVariantList>

namespace gateway::cloud_client {

/// What a query found (PS3.18 8.7.3.2), from an answer whose status is a success. Only 204 and a list in JSON
/// say that nothing was found.
///
/// \throws AFError where something else came, such as a web page. Thread: any.
QVariantList queryResult(const HttpResponse &response);

} // namespace gateway::cloud_client
