#pragma once

#include "core/failure_class.h"
#include "shell/dashboard/cards/card_notice.h"

#include <cstdint>
#include <optional>

namespace gateway::shell {

/// What is known of the way to the cloud. Thread: a plain value.
struct SentSituation
{
    std::int64_t notSent = 0; ///< the failed ones among them
    std::int64_t sent = 0;
    std::int64_t failed = 0;
    bool isSending = false;
    bool isSignedIn = false; ///< as far as is known, and not refused
    bool isReachable = false;
    std::optional<core::FailureClass> reason = std::nullopt; ///< why most of the failed ones did
};

/// The one thing to know about it: what keeps images from going comes before how they go.
CardNotice::Words sentNotice(const SentSituation &now);

} // namespace gateway::shell
