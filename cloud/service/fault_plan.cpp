#include "cloud/service/fault_plan.h"

#include <algorithm>

namespace gateway::cloud {

using platform::MutexLock;

void FaultPlan::add(const FaultRule &rule)
{
    const MutexLock lock(m_mutex);
    m_rules.push_back(rule);
}

void FaultPlan::clear()
{
    const MutexLock lock(m_mutex);
    m_rules.clear();
    m_refusals.clear();
    m_secondVersion = SecondVersion::replaces;
}

void FaultPlan::setSecondVersion(SecondVersion fate)
{
    const MutexLock lock(m_mutex);
    m_secondVersion = fate;
}

SecondVersion FaultPlan::secondVersion() const
{
    const MutexLock lock(m_mutex);
    return m_secondVersion;
}

std::optional<FaultRule> FaultPlan::take(const std::string &method, const std::string &path)
{
    const MutexLock lock(m_mutex);
    const auto fits = [&](const FaultRule &rule) {
        return (rule.method.empty() || rule.method == method) && path.starts_with(rule.pathPrefix);
    };
    const auto found = std::find_if(m_rules.begin(), m_rules.end(), fits);
    if (found == m_rules.end()) {
        return std::nullopt;
    }
    FaultRule rule = *found;
    if (found->count && --*found->count <= 0) {
        m_rules.erase(found);
    }
    return rule;
}

std::vector<FaultRule> FaultPlan::rules() const
{
    const MutexLock lock(m_mutex);
    return m_rules;
}

void FaultPlan::refuse(const QString &sopInstanceUid, int failureReason, std::optional<std::int64_t> count)
{
    const MutexLock lock(m_mutex);
    m_refusals[sopInstanceUid] = {failureReason, count};
}

std::optional<int> FaultPlan::takeRefusal(const QString &sopInstanceUid)
{
    const MutexLock lock(m_mutex);
    const auto found = m_refusals.find(sopInstanceUid);
    if (found == m_refusals.end()) {
        return std::nullopt;
    }
    const int reason = found->second.failureReason;
    if (found->second.count && --*found->second.count <= 0) {
        m_refusals.erase(found);
    }
    return reason;
}

} // namespace gateway::cloud
