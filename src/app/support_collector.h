#pragma once

#include "app/receiving.h"
#include "doctor/support_bundle.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

namespace gateway::app {

/// Puts support bundles together.
///
/// Owner: Doors. Thread: main.
class SupportCollector
{
public:
    /// Longer than this nobody waits for an examination; a bundle goes without it then.
    static constexpr std::chrono::seconds kLongestExamination{60};

    /// All outlive this.
    struct Parts
    {
        Ground &ground;
        CloudAccount &account;
        state::GatewayAppState &live;
        Sending &sending;
        Receiving &receiving;
    };

    explicit SupportCollector(const Parts &parts);

    QCoro::Task<QString> collect();

private:
    doctor::SupportFacts::Lines figures() const;
    QList<std::pair<QString, QVariant>> settings() const;
    QCoro::Task<std::optional<doctor::Diagnosis>> examine();

    const Parts m_parts;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::app
