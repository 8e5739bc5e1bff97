#pragma once

#include "monitor/prometheus_text.h"

#include <QtCore/QByteArray>

#include <memory>
#include <string>
#include <string_view>

namespace gateway::monitor {

/// Answers HTTP requests for `/metrics` and `/healthz`, as bytes to bytes.
///
/// Owner: HealthServer. Thread: one at a time.
class HealthAnswers
{
public:
    HealthAnswers();
    ~HealthAnswers();

    HealthAnswers(const HealthAnswers &) = delete;
    HealthAnswers &operator=(const HealthAnswers &) = delete;

    /// The whole answer to one request. Only GET and HEAD are taken; each answer asks for the connection to
    /// be closed.
    ///
    /// \param head  of the request, through its empty line; a malformed one is answered, too.
    std::string answer(std::string_view head, const MetricsView &view);

    /// The answer to a request whose head is longer than is read.
    static std::string tooLong();

    /// The answer to a request whose head didn't come in time.
    static std::string tooSlow();

private:
    class Engine;

    std::unique_ptr<Engine> m_engine;
};

} // namespace gateway::monitor
