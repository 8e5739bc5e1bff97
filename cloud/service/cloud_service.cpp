#include "cloud/service/cloud_service.h"

#include "cloud/http/connection.h"
#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"

namespace gateway::cloud {

namespace {

using Path = std::vector<std::string>;

bool startsWith(const Path &path, const Path &start)
{
    return path.size() >= start.size() && std::equal(start.begin(), start.end(), path.begin());
}

Path behind(const Path &path, std::size_t count)
{
    return {path.begin() + static_cast<Path::difference_type>(count), path.end()};
}

} // namespace

CloudService::CloudService(const Options &options,
                           const platform::Clock &clock,
                           std::function<ConnectionCounts()> connections)
    : m_store(options.dataFolder, options.durable),
      m_accounts(options.dataFolder + QStringLiteral("/accounts.sqlite"), options.durable, clock),
      m_settings(options.dataFolder + QStringLiteral("/settings.json")),
      m_accountRoutes(
          m_accounts, m_settings, m_store.index(), options.dataFolder + QStringLiteral("/bug-reports")),
      m_dicomwebRoutes(m_accounts, m_settings, m_store, m_faults)
{
    if (options.control) {
        m_controlRoutes.emplace(ControlledParts{m_accounts,
                                                m_settings,
                                                m_store,
                                                m_faults,
                                                m_counts,
                                                std::move(connections),
                                                options.dataFolder + QStringLiteral("/bug-reports")});
    }
}

void CloudService::handle(Exchange &exchange)
{
    const Path path = exchange.segments();
    if (m_controlRoutes) {
        if (startsWith(path, {"control"})) {
            m_controlRoutes->handle(exchange, behind(path, 1));
            return;
        }
        m_counts.count(exchange.method(), exchange.path());
        if (answerByFault(exchange)) {
            return;
        }
    }
    if (startsWith(path, {"api", "v1"})) {
        m_accountRoutes.handle(exchange, behind(path, 2));
    } else if (startsWith(path, {"dicom-web"})) {
        m_dicomwebRoutes.handle(exchange, behind(path, 1));
    } else {
        throw HttpProblem(404, ProblemKind::notFound, QStringLiteral("There is nothing at this address."));
    }
}

/// Applies a fault that is due; true when it is the whole answer.
bool CloudService::answerByFault(Exchange &exchange)
{
    const std::optional<FaultRule> rule = m_faults.take(exchange.method(), exchange.path());
    if (!rule) {
        return false;
    }
    exchange.setFault({rule->cutAfterBodyBytes, rule->cutBeforeAnswer, rule->delay, rule->bytesPerSecond});
    if (!rule->status) {
        return false;
    }
    for (const auto &[name, value] : rule->headers) {
        exchange.setHeader(name, value);
    }
    if (rule->body.empty()) {
        exchange.answer(*rule->status);
    } else {
        exchange.answer(*rule->status, rule->contentType.c_str(), QByteArray::fromStdString(rule->body));
    }
    return true;
}

} // namespace gateway::cloud
