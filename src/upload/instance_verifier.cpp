#include "upload/instance_verifier.h"

#include "cloud_client/quorin_error.h"
#include "upload/failure_reason.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QScopeGuard>

#include <algorithm>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::PreparedCandidate;

namespace {

const AttemptEnd kDoubtNotNoted{.failure = {FailureClass::indexTrouble, 0},
                                .reach = StoreUpload::FailureReach::queue};

/// Whether what the cloud holds may have come from here before, in this very version. A request that broke
/// off may have arrived or not: "there already" says that such a one did, and a look at who else may have
/// sent one since doesn't.
bool mayBeFromHere(index::SentBefore before, CloudsWord word)
{
    switch (before) {
    case index::SentBefore::thisVersion:
    case index::SentBefore::thisVersionOnItsWay:
        return true;
    case index::SentBefore::thisVersionBrokeOff:
        return word == CloudsWord::wasThere;
    case index::SentBefore::nothing:
    case index::SentBefore::thisVersionInVain:
    case index::SentBefore::anotherVersion:
    case index::SentBefore::laterVersion:
    case index::SentBefore::unknown:
    case index::SentBefore::unrecorded:
        break;
    }
    return false;
}

AttemptEnd failed(FailureClass failureClass, std::int64_t code = 0)
{
    return {.result = AttemptResult::failed, .failure = {failureClass, code}};
}

/// An archive may give the decoded form of what it was sent, and a header of its own.
qint64 mostBytes(const PreparedCandidate &prepared)
{
    constexpr qint64 kRoom = 16 << 20;
    const qint64 stored = QFileInfo(prepared.context.candidate.fileURL.toLocalFile()).size();
    return 2 * std::max(stored, QFileInfo(prepared.uploadURL.toLocalFile()).size()) + kRoom;
}

/// True where a status came: the service, or whoever stands for it, did answer.
bool isAnswer(const std::exception &error)
{
    return cloud_client::statusOf(error).has_value();
}

/// True where the question reached somebody, who answered something else than what was asked.
bool wasAnsweredSomehow(const std::exception &error)
{
    const auto *failure = dynamic_cast<const cloud_client::AFError *>(&error);
    return isAnswer(error) || (failure && (failure->noAnswer == cloud_client::NoAnswer::unusableAnswer ||
                                           failure->noAnswer == cloud_client::NoAnswer::proxyRefused));
}

/// True where the question had to go elsewhere than images do, and nobody was there.
bool isOfAnotherServer(const std::exception &error)
{
    const auto *failure = dynamic_cast<const cloud_client::AFError *>(&error);
    return failure && failure->isOfAnotherServer;
}

/// True where the service itself says what holds for all that it is asked.
bool isOfTheSession(const std::exception &error)
{
    const auto *response = dynamic_cast<const cloud_client::QrnErrorResponse *>(&error);
    return response && (response->kind == cloud_client::QrnErrorKind::sessionInvalid ||
                        response->kind == cloud_client::QrnErrorKind::termsNotAccepted);
}

/// What would be said of a file that was refused, and isn't so of one that could not be looked for.
bool isOfTheLook(FailureClass failureClass)
{
    return failureClass == FailureClass::unexpectedAnswer || failureClass == FailureClass::refused ||
           failureClass == FailureClass::tooLarge || failureClass == FailureClass::sessionEnded ||
           failureClass == FailureClass::storageUsedUp;
}

/// How a question ended that got no answer.
struct Unasked
{
    AttemptEnd end;
    bool isNotOffered = false; ///< it can't be asked at all, rather than not at this moment
};

/// Who may not look, or can't at this moment, may well send: what answers a question never holds up the
/// queue. Only an answer says that there is nothing at an address (404, 405, 410, 501), not in this form
/// (406, 415), or not for this account (403). Whatever else comes, or nothing, is of this moment: it proves
/// nothing, and the question is asked again soon.
Unasked unasked(const std::exception &error, const PreparedCandidate &prepared)
{
    Unasked question{failedEnd(error, prepared)};
    const FailureClass failureClass = question.end.failure.failureClass;
    question.isNotOffered = isAnswer(error) && (failureClass == FailureClass::noImageService ||
                                                failureClass == FailureClass::kindNotSupported ||
                                                failureClass == FailureClass::notPermitted);
    if ((wasAnsweredSomehow(error) && !isOfTheSession(error)) || isOfAnotherServer(error)) {
        question.end.reach = StoreUpload::FailureReach::file;
    }
    if (isOfAnotherServer(error) ||
        (question.end.reach == StoreUpload::FailureReach::file && isOfTheLook(failureClass))) {
        question.end.failure.failureClass = FailureClass::notConfirmed;
    }
    return question;
}

} // namespace

std::optional<AttemptEnd> InstanceVerifier::endWithoutRequest(const PreparedCandidate &prepared) const
{
    std::optional<AttemptEnd> end = lookFirst(prepared);
    if (end && end->failure.failureClass == FailureClass::notConfirmed) {
        end->failure.failureClass = FailureClass::notLookedUp; // nothing was sent that could be confirmed
    }
    return end;
}

std::optional<AttemptEnd> InstanceVerifier::lookFirst(const PreparedCandidate &prepared) const
{
    const index::SentBefore before = m_collaborators.index.sentBefore(StoreUpload::sentInstance(prepared));
    switch (before) {
    case index::SentBefore::nothing:
    case index::SentBefore::anotherVersion:
        return std::nullopt;
    case index::SentBefore::thisVersion:
    case index::SentBefore::thisVersionOnItsWay:
    case index::SentBefore::thisVersionBrokeOff:
    case index::SentBefore::thisVersionInVain:
        return lookForTaken(prepared, before);
    case index::SentBefore::laterVersion:
        return failed(FailureClass::laterVersionSent);
    case index::SentBefore::unrecorded:
        return lookForUnrecorded(prepared);
    case index::SentBefore::unknown:
        return lookForUnknown(prepared);
    }
    return std::nullopt;
}

/// What the cloud has taken without showing it is looked for at each try, and sent again at some of them: it
/// may have lost it. What is found then may be anybody's that came in between.
std::optional<AttemptEnd> InstanceVerifier::lookForTaken(PreparedCandidate prepared,
                                                         index::SentBefore before) const
{
    constexpr std::int64_t kTriesForASend = 3;
    const index::PendingImageUpload &candidate = prepared.context.candidate;
    if (core::failureClassOf(candidate.lastFailure) != FailureClass::notThereYet) {
        return std::nullopt;
    }
    try {
        if (m_collaborators.cloud.isFound(prepared.context.session, prepared.identity)) {
            prepared.sentBefore = before;
            return confirm(prepared, CloudsWord::isShown);
        }
    } catch (const std::exception &error) {
        Unasked query = unasked(error, prepared);
        // Without an answer, too, for what was taken is no sign that the cloud is away: others are sent.
        if (query.end.reach != StoreUpload::FailureReach::queue) {
            query.end.reach = StoreUpload::FailureReach::file;
            query.end.failure.failureClass = FailureClass::notThereYet; // looked for before it is sent again
        }
        return query.isNotOffered ? std::nullopt : std::optional(query.end);
    }
    return candidate.tries % kTriesForASend == 0 ? std::nullopt
                                                 : std::optional(failed(FailureClass::notThereYet));
}

/// The index doesn't know the instance, but doesn't know all that was sent either.
std::optional<AttemptEnd> InstanceVerifier::lookForUnrecorded(const PreparedCandidate &prepared) const
{
    try {
        if (!mayBeHeld(prepared.context.session, prepared.identity)) {
            return std::nullopt;
        }
    } catch (const std::exception &error) {
        const Unasked query = unasked(error, prepared);
        if (!query.isNotOffered) {
            m_collaborators.index.noteQueryFailed(prepared.context.session.cloud);
            return query.end;
        }
        if (m_collaborators.index.noteQueryRefused(prepared.context.session.cloud)) {
            return std::nullopt; // its word is all there is
        }
        return failed(FailureClass::notLookedUp, query.end.failure.code);
    }
    return noteDoubt(prepared) ? lookForUnknown(prepared) : kDoubtNotNoted;
}

std::optional<AttemptEnd> InstanceVerifier::lookForUnknown(const PreparedCandidate &prepared) const
{
    const Look look = compareWithCloud(prepared);
    if (look.end.result == AttemptResult::success) {
        return look.end;
    }
    if (look.wasFetched) {
        return std::nullopt; // this one may take its place
    }
    if (look.end.failure.failureClass != FailureClass::notComparable) {
        return look.end; // nobody could look
    }
    // Sent once, and called stored: while a query finds it there, sending it again would prove no more.
    const bool wasCalledStored =
        core::failureClassOf(prepared.context.candidate.lastFailure) == FailureClass::notComparable;
    try {
        return wasCalledStored && m_collaborators.cloud.isFound(prepared.context.session, prepared.identity)
                   ? std::optional(look.end)
                   : std::nullopt;
    } catch (const std::exception &error) {
        const Unasked query = unasked(error, prepared);
        return query.isNotOffered ? std::nullopt : std::optional(query.end);
    }
}

bool InstanceVerifier::mayBeHeld(const cloud_client::CloudSession &session,
                                 const platform::InstanceIdentity &identity) const
{
    if (!identity.study.isEmpty() && !identity.series.isEmpty()) {
        if (m_collaborators.newSeries.contains(session.cloud, identity)) {
            return false;
        }
        const bool isSeriesFound = m_collaborators.cloud.isSeriesFound(session, identity);
        m_collaborators.index.noteQueryAnswered(session.cloud);
        if (!isSeriesFound) {
            m_collaborators.newSeries.add(session.cloud, identity);
            return false;
        }
    }
    const bool mayHold = m_collaborators.cloud.mayHold(session, identity);
    m_collaborators.index.noteQueryAnswered(session.cloud);
    return mayHold;
}

/// Notes that nobody knows which version the cloud holds. False when that can't be written.
bool InstanceVerifier::noteDoubt(const PreparedCandidate &prepared) const
{
    constexpr std::int64_t kNobodyKnowsWhich = 0;
    return m_collaborators.index
        .noteSending({{.instance = prepared.identity.instance,
                       .version = kNobodyKnowsWhich,
                       .cloud = prepared.context.session.cloud}})
        .has_value();
}

AttemptEnd InstanceVerifier::confirm(const PreparedCandidate &prepared, CloudsWord word) const
{
    const bool isNew = word == CloudsWord::isStored;
    if (!isNew && !mayBeFromHere(prepared.sentBefore, word) && !noteDoubt(prepared)) {
        return kDoubtNotNoted;
    }
    const bool isInDoubt = m_collaborators.index.mayOtherVersionBeSent(StoreUpload::sentInstance(prepared));
    if (isNew && !isInDoubt) {
        return StoreUpload::kUploaded;
    }
    AttemptEnd end = compareWithCloud(prepared).end;
    const bool isInTheDark = end.failure.failureClass == FailureClass::notComparable;
    if (!isInDoubt && isInTheDark) {
        end = endByRecord(prepared);
    }
    end.reach = StoreUpload::FailureReach::file; // the request itself was answered
    return end;
}

/// What was there may have come from here before, as the record says. Its word counts only where the cloud
/// gives nothing out, for a request that broke off has left the same record as one that arrived; and not
/// against a query.
AttemptEnd InstanceVerifier::endByRecord(const PreparedCandidate &prepared) const
{
    if (prepared.sentBefore == index::SentBefore::thisVersionOnItsWay) {
        return failed(FailureClass::notConfirmed); // the result of that one tells, the next time
    }
    try {
        return m_collaborators.cloud.isFound(prepared.context.session, prepared.identity)
                   ? StoreUpload::kUploaded
                   : failed(FailureClass::notConfirmed);
    } catch (const std::exception &error) {
        const Unasked query = unasked(error, prepared);
        return query.isNotOffered ? StoreUpload::kUploaded : query.end;
    }
}

/// Fetches the instance and compares it. One that isn't there, or can't be had from this archive, can't be
/// compared; all else that keeps it away is as with an upload.
InstanceVerifier::Look InstanceVerifier::compareWithCloud(const PreparedCandidate &prepared) const
{
    const platform::InstanceIdentity &identity = prepared.identity;
    const QString fetched = m_collaborators.converter.temporaryPath();
    if (identity.study.isEmpty() || identity.series.isEmpty()) {
        return {failed(FailureClass::notComparable)}; // nobody could be asked for it
    }
    if (fetched.isEmpty()) {
        return {failed(FailureClass::machineTrouble)};
    }
    const auto cleanUp = qScopeGuard([&fetched] { QFile::remove(fetched); });
    try {
        m_collaborators.cloud.retrieve(prepared.context.session, identity, fetched, mostBytes(prepared));
    } catch (const std::exception &error) {
        const Unasked fetch = unasked(error, prepared);
        return {fetch.isNotOffered ? failed(FailureClass::notComparable, fetch.end.failure.code) : fetch.end};
    }
    switch (m_collaborators.converter.compare(
        fetched, prepared.uploadURL.toLocalFile(), prepared.context.candidate.fileURL.toLocalFile())) {
    case platform::Likeness::same:
        return {{.result = AttemptResult::success, .isVerified = true}, true};
    case platform::Likeness::different:
        return {failed(FailureClass::anotherVersionInCloud), true};
    case platform::Likeness::unknown:
        break;
    }
    return {failed(FailureClass::notConfirmed), true};
}

} // namespace gateway::upload
