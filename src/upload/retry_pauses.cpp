#include "upload/retry_pauses.h"

#include <array>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::FailureReach;

namespace {

using namespace std::chrono_literals;

constexpr std::array<std::chrono::seconds, 5> kAfterRefusal{1min, 10min, 1h, 6h, 24h};

// The longest wait for an answer is three minutes: an hour apart, such attempts cost a run a twentieth of its
// time.
constexpr std::array<std::chrono::seconds, 5> kAfterTrouble{10s, 1min, 5min, 15min, 1h};

/// True where only a person, another cloud or another program can change the answer.
bool isForGood(FailureClass failureClass)
{
    switch (failureClass) {
    case FailureClass::tooLarge:
    case FailureClass::refused:
    case FailureClass::kindNotSupported:
    case FailureClass::contentDoesNotFit:
    case FailureClass::notUnderstood:
    case FailureClass::conversionFailed:
    case FailureClass::notPermitted:
    case FailureClass::withoutIdentity:
    case FailureClass::anotherVersionInCloud:
    case FailureClass::notComparable:
    case FailureClass::laterVersionSent:
        return true;
    case FailureClass::sessionEnded:
    case FailureClass::notSignedIn:
    case FailureClass::termsNotAccepted:
    case FailureClass::storageUsedUp:
    case FailureClass::outOfResources:
    case FailureClass::tooManyRequests:
    case FailureClass::serviceFault:
    case FailureClass::noImageService:
    case FailureClass::unexpectedAnswer:
    case FailureClass::notConfirmed:
    case FailureClass::notLookedUp:
    case FailureClass::addressNotFound:
    case FailureClass::notReachable:
    case FailureClass::notSecure:
    case FailureClass::timedOut:
    case FailureClass::connectionLost:
    case FailureClass::fileMissing:
    case FailureClass::fileUnreadable:
    case FailureClass::fileOfAnotherImage:
    case FailureClass::fileChanged:
    case FailureClass::indexTrouble:
    case FailureClass::notThereYet:
    case FailureClass::signInUnavailable:
    case FailureClass::machineTrouble:
    case FailureClass::unknown:
        break;
    }
    return false;
}

/// True where an answer that seems to concern the whole queue may come of what one file holds, or of its
/// size: a firewall's 403 or 404 or its way to a page that says no, a quota that a smaller file still fits.
/// The file lets another one try.
bool mayBeOfOneFile(FailureClass failureClass)
{
    return failureClass == FailureClass::notPermitted || failureClass == FailureClass::storageUsedUp ||
           failureClass == FailureClass::unexpectedAnswer || failureClass == FailureClass::noImageService;
}

} // namespace

std::span<const std::chrono::seconds> pausesAfter(const StoreUpload::AttemptEnd &end)
{
    if (end.reach == FailureReach::queue && !mayBeOfOneFile(end.failure.failureClass)) {
        return {};
    }
    if (end.reach == FailureReach::queue) {
        return kAfterTrouble;
    }
    return isForGood(end.failure.failureClass) ? std::span(kAfterRefusal) : std::span(kAfterTrouble);
}

} // namespace gateway::upload
