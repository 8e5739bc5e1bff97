#pragma once

#include "cloud_client/http_message.h"

namespace gateway::cloud_client {

/// Throws what a refusing answer means: QrnErrorResponse where the service sent its own words
/// (`application/problem+json`), else AFError with the status.
[[noreturn]] void throwAnswerError(const HttpResponse &response);

/// Throws the AFError for an answer with a good status that nothing but something else can have given, such
/// as a web page: it says whose answer it was, and its status.
[[noreturn]] void throwUnusableAnswer(const HttpResponse &response);

/// True for the page by which a proxy that speaks TLS for a server refuses the client certificate, or the
/// lack of one.
bool isCertificateRefused(const HttpResponse &response);

/// Throws the AFError for an answer of the service in which something is missing.
[[noreturn]] void throwUnreadableAnswer();

} // namespace gateway::cloud_client
