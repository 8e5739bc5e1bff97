#pragma once

#include "platform/quorin_api/http_message.h"

namespace gateway::platform {

/// Throws what a refusing answer means: QrnErrorResponse where the service sent its own words
/// (`application/problem+json`), else AFError with the status.
[[noreturn]] void throwAnswerError(const HttpResponse &response);

/// Throws the AFError for an answer whose status was good and whose body can't be used.
[[noreturn]] void throwUnreadableAnswer();

} // namespace gateway::platform
