#pragma once

#include <QtCore/QLatin1StringView>
#include <QtCore/QString>

#include <cstdint>

namespace gateway::core {

/// Why an image was not uploaded, as far as it matters to whoever reads it: one class a sentence, and one
/// sentence a class. A new class goes before `unknown`, which stays the last.
enum class FailureClass
{
    sessionEnded,
    notSignedIn, ///< at the start of a run: nobody ever was, a person signed out, or the session is over
    termsNotAccepted,
    notPermitted,
    storageUsedUp,
    outOfResources,
    tooLarge,
    tooManyRequests,
    serviceFault,
    noImageService,
    unexpectedAnswer,
    refused,
    kindNotSupported,
    contentDoesNotFit,
    notUnderstood,
    conversionFailed,
    notConfirmed,
    addressNotFound,
    notReachable,
    notSecure,
    timedOut,
    connectionLost,
    fileMissing,
    fileUnreadable,
    fileOfAnotherImage, ///< the stored file isn't the one that its rows stand for
    fileChanged,        ///< the stored file isn't what was received any more
    withoutIdentity,
    anotherVersionInCloud,
    notComparable,
    notLookedUp,      ///< nothing was sent: what the cloud holds had to be known first
    laterVersionSent, ///< the cloud took one that was acknowledged after this one
    indexTrouble,
    signInUnavailable, ///< what it takes to sign in couldn't be had: from its service, or from its file
    notThereYet,    ///< the cloud took it, and doesn't show it yet: it is looked for before it is sent again
    machineTrouble, ///< of what isn't the stored file: no temporary file, no worker
    unknown
};

/// A failure as it is kept and shown: never in the words of a server, which may name a patient.
struct Failure
{
    FailureClass failureClass = FailureClass::unknown;
    std::int64_t code = 0; ///< the number that the log has for it; 0 where there is none

    bool operator==(const Failure &) const = default;
};

/// The class as it is stored and printed for programs. It never changes: stored files hold it.
QLatin1StringView rawValue(FailureClass failureClass);

/// The class of a stored word; a word of a later version reads as `unknown`.
FailureClass failureClassOf(const QString &rawValue);

/// What happened, what goes on all the same and what to do, in the user's language: for people, without
/// codes. Thread: any.
QString failureSentence(FailureClass failureClass);

} // namespace gateway::core
