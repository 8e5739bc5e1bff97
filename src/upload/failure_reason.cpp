#include "upload/failure_reason.h"

#include "cloud_client/quorin_error.h"

#include <algorithm>

namespace gateway::upload {

using cloud_client::AFError;
using cloud_client::NoAnswer;
using cloud_client::QrnErrorKind;
using cloud_client::QrnErrorResponse;
using cloud_client::QrnStowResponse;
using core::Failure;
using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::FailureReach;
using StoreUpload::PreparedCandidate;

namespace {

FailureClass classOfStatus(int status)
{
    switch (status) {
    case 401:
        return FailureClass::sessionEnded;
    case 403:
        return FailureClass::notPermitted;
    case 404:
    case 405:
    case 410:
    case 501:
        return FailureClass::noImageService;
    case 408:
    case 504:
        return FailureClass::timedOut;
    case 413:
        return FailureClass::tooLarge;
    case 406:
    case 415:
        return FailureClass::kindNotSupported;
    case 429:
    case 503:
        return FailureClass::tooManyRequests;
    case 407:
    case 511:
        return FailureClass::unexpectedAnswer;
    case 507:
        return FailureClass::storageUsedUp;
    default:
        break;
    }
    if (status >= 500) {
        return FailureClass::serviceFault;
    }
    return status >= 400 ? FailureClass::refused : FailureClass::unexpectedAnswer;
}

FailureClass classOfKind(const QrnErrorResponse &error)
{
    switch (error.kind) {
    case QrnErrorKind::sessionInvalid:
    case QrnErrorKind::credentialsRefused:
        return FailureClass::sessionEnded;
    case QrnErrorKind::termsNotAccepted:
        return FailureClass::termsNotAccepted;
    case QrnErrorKind::notFound:
        return FailureClass::noImageService;
    case QrnErrorKind::storageUsedUp:
        return FailureClass::storageUsedUp;
    case QrnErrorKind::tooManyRequests:
        return FailureClass::tooManyRequests;
    case QrnErrorKind::badRequest:
    case QrnErrorKind::passwordsDoNotMatch:
    case QrnErrorKind::currentPasswordIncorrect:
    case QrnErrorKind::serviceFault:
        break; // the status says as much or more
    }
    if (error.responseCode) {
        return classOfStatus(*error.responseCode);
    }
    return error.kind == QrnErrorKind::serviceFault ? FailureClass::serviceFault : FailureClass::refused;
}

FailureClass classOf(NoAnswer reason)
{
    switch (reason) {
    case NoAnswer::badAddress:
        return FailureClass::noImageService;
    case NoAnswer::addressNotFound:
        return FailureClass::addressNotFound;
    case NoAnswer::otherReason:
    case NoAnswer::notReachable:
        return FailureClass::notReachable;
    case NoAnswer::notSecure:
        return FailureClass::notSecure;
    case NoAnswer::timedOut:
        return FailureClass::timedOut;
    case NoAnswer::notAsked:
        return FailureClass::notConfirmed;
    case NoAnswer::connectionLost:
        return FailureClass::connectionLost;
    case NoAnswer::proxyRefused:
    case NoAnswer::unusableAnswer:
        return FailureClass::unexpectedAnswer;
    case NoAnswer::signInUnavailable:
        return FailureClass::signInUnavailable;
    case NoAnswer::sessionOver:
        return FailureClass::notSignedIn;
    case NoAnswer::unusableFile:
        return FailureClass::fileUnreadable;
    case NoAnswer::answerNotKept:
        return FailureClass::machineTrouble;
    }
    return FailureClass::unknown;
}

/// FailureReason (0008,1197): single values first, then the ranges in which they lie.
FailureClass classOfReason(int reason)
{
    constexpr int kOutOfResources = 0xA700;   // A7xx, PS3.4 GG.4.2
    constexpr int kDoesNotMatch = 0xA900;     // A9xx
    constexpr int kCannotUnderstand = 0xC000; // Cxxx
    switch (reason) {
    case 0x0106: // invalid attribute value
    case 0x0117: // invalid object instance
    case 0x0120: // missing attribute
    case 0x0121: // missing attribute value
        return FailureClass::contentDoesNotFit;
    case 0x0110: // processing failure
    case 0xB00F: // 45071, by which an archive says that it is still being stored, or that such a try is
                 // cleared up
        return FailureClass::serviceFault;
    case 0x0118: // no such SOP class
    case 0x0122: // SOP class not supported
    case 0xC122: // transfer syntax not supported
        return FailureClass::kindNotSupported;
    case 0x0124: // not authorized
        return FailureClass::notPermitted;
    case 0x0213: // resource limitation
        return FailureClass::outOfResources;
    default:
        break;
    }
    if ((reason & 0xFF00) == kOutOfResources) {
        return FailureClass::outOfResources;
    }
    if ((reason & 0xFF00) == kDoesNotMatch) {
        return FailureClass::contentDoesNotFit;
    }
    if ((reason & 0xF000) == kCannotUnderstand) {
        return FailureClass::notUnderstood;
    }
    return reason == 0 ? FailureClass::notConfirmed : FailureClass::refused;
}

Failure failureIn(const QrnStowResponse &refusal, const PreparedCandidate &prepared);

Failure ofRequest(const std::exception &error, const PreparedCandidate &prepared)
{
    if (const auto *refusal = dynamic_cast<const QrnStowResponse *>(&error)) {
        return failureIn(*refusal, prepared);
    }
    if (const auto *response = dynamic_cast<const QrnErrorResponse *>(&error)) {
        return {classOfKind(*response), response->code};
    }
    if (const auto *failed = dynamic_cast<const AFError *>(&error)) {
        return {failed->responseCode ? classOfStatus(*failed->responseCode) : classOf(failed->noAnswer),
                failed->code};
    }
    if (dynamic_cast<const cloud_client::QrnNotOffered *>(&error)) {
        return {FailureClass::noImageService, 0};
    }
    return {FailureClass::unknown, 0};
}

/// A file that could not be read has no instance UID of its own: its path stands alone.
bool couldNotBeRead(const QrnStowResponse &refusal, const QString &path)
{
    return std::ranges::any_of(refusal.failures,
                               [&](const QStringList &entry) { return entry == QStringList{path}; });
}

Failure failureIn(const QrnStowResponse &refusal, const PreparedCandidate &prepared)
{
    const auto reason = refusal.reasons.constFind(prepared.identity.instance);
    if (reason != refusal.reasons.cend()) {
        return {classOfReason(*reason), *reason};
    }
    if (couldNotBeRead(refusal, prepared.uploadURL.toLocalFile())) {
        return {FailureClass::fileUnreadable, 0};
    }
    if (refusal.taken.contains(prepared.identity.instance)) {
        return {FailureClass::notThereYet, 0};
    }
    if (refusal.cause) {
        try {
            std::rethrow_exception(refusal.cause);
        } catch (const std::exception &cause) {
            return ofRequest(cause, prepared);
        }
    }
    return {classOfReason(refusal.code), refusal.code};
}

FailureReach reachOfStatus(int status)
{
    if (status >= 300 && status < 400) {
        return FailureReach::queue; // whoever points elsewhere does so for all
    }
    switch (status) {
    case 401:
    case 403:
    case 407:
    case 429:
    case 503:
    case 507:
    case 511:
        return FailureReach::queue;
    case 408:
    case 502: // a proxy's word that the service itself gave no answer
    case 504:
        return FailureReach::unanswered;
    default:
        return FailureReach::file;
    }
}

FailureReach reachOfKind(const QrnErrorResponse &error)
{
    switch (error.kind) {
    case QrnErrorKind::termsNotAccepted:
    case QrnErrorKind::storageUsedUp:
    case QrnErrorKind::tooManyRequests:
    case QrnErrorKind::sessionInvalid:
    case QrnErrorKind::credentialsRefused:
        return FailureReach::queue;
    case QrnErrorKind::badRequest:
    case QrnErrorKind::passwordsDoNotMatch:
    case QrnErrorKind::currentPasswordIncorrect:
    case QrnErrorKind::notFound:
    case QrnErrorKind::serviceFault:
        break;
    }
    return error.responseCode ? reachOfStatus(*error.responseCode) : FailureReach::file;
}

FailureReach reachOf(NoAnswer reason)
{
    switch (reason) {
    case NoAnswer::badAddress:
    case NoAnswer::addressNotFound:
    case NoAnswer::notReachable:
    case NoAnswer::proxyRefused:
    case NoAnswer::notSecure:
    case NoAnswer::signInUnavailable:
    case NoAnswer::sessionOver:
        return FailureReach::queue;
    case NoAnswer::timedOut:
    case NoAnswer::connectionLost:
    case NoAnswer::unusableAnswer:
    case NoAnswer::otherReason:
        return FailureReach::unanswered;
    case NoAnswer::notAsked: // others may well be sent
    case NoAnswer::unusableFile:
    case NoAnswer::answerNotKept:
        break;
    }
    return FailureReach::file;
}

/// What ended the request in which the file was sent; nothing where the answer spoke of the file, or of
/// nobody.
const std::exception *
endOfRequest(const std::exception &error, const PreparedCandidate &prepared, std::exception_ptr &held)
{
    const auto *refusal = dynamic_cast<const QrnStowResponse *>(&error);
    if (!refusal) {
        return &error;
    }
    const bool isNamed =
        std::ranges::any_of(prepared.context.candidate.originalSOPInstanceUIDs,
                            [&](const platform::InstanceUid &uid) { return refusal->reasons.contains(uid); });
    if (isNamed || !refusal->cause || couldNotBeRead(*refusal, prepared.uploadURL.toLocalFile())) {
        return nullptr;
    }
    try {
        held = refusal->cause;
        std::rethrow_exception(held);
    } catch (const std::exception &cause) {
        return &cause; // `held` keeps it
    }
}

FailureReach reachOfRequest(const std::exception &error)
{
    if (const auto *response = dynamic_cast<const QrnErrorResponse *>(&error)) {
        return reachOfKind(*response);
    }
    if (const auto *failed = dynamic_cast<const AFError *>(&error)) {
        return failed->responseCode ? reachOfStatus(*failed->responseCode) : reachOf(failed->noAnswer);
    }
    return FailureReach::file;
}

} // namespace

AttemptEnd failedEnd(const std::exception &error, const PreparedCandidate &prepared)
{
    AttemptEnd end{.result = AttemptResult::failed, .failure = failureOf(error, prepared)};
    std::exception_ptr held;
    if (const std::exception *ended = endOfRequest(error, prepared, held)) {
        end.reach = reachOfRequest(*ended);
        if (const auto *known = dynamic_cast<const cloud_client::QuorinError *>(ended)) {
            end.retryAfter = known->retryAfter;
        }
    }
    return end;
}

Failure failureOf(const std::exception &error, const PreparedCandidate &prepared)
{
    Failure failure = ofRequest(error, prepared);
    // Two readers that can't make anything of an image say more about it than one of them.
    if (failure.failureClass == FailureClass::notUnderstood &&
        prepared.details.value(QStringLiteral("compression_fallback_reason")) ==
            QStringLiteral("conversion_error")) {
        failure.failureClass = FailureClass::conversionFailed;
    }
    return failure;
}

} // namespace gateway::upload
