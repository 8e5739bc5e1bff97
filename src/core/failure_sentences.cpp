// Every sentence about a failed upload. Each says what happened, what goes on all the same, and what to do.

#include "core/failure_class.h"

#include <QtCore/QCoreApplication>

namespace gateway::core {

namespace {

constexpr const char *kContext = "FailureSentence";

const char *sourceText(FailureClass failureClass)
{
    switch (failureClass) {
    case FailureClass::sessionEnded:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The session with the cloud has ended. Images are still received and kept "
                                 "here. Sign in again, and they are sent.");
    case FailureClass::notSignedIn:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "Nobody is signed in to the cloud. Images are still received and kept here. "
                                 "Sign in, and they are sent.");
    case FailureClass::termsNotAccepted:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud waits until its terms are accepted. Images are still received "
                                 "and kept here. Accept the terms, and they are sent.");
    case FailureClass::notPermitted:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "This account may not store images in the cloud. Images are still received "
                                 "and kept here. Ask whoever runs the cloud account to permit it.");
    case FailureClass::storageUsedUp:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud's storage allowance is used up. Images are kept here and sent "
                                 "when there is room. Delete studies there that are no longer needed, or "
                                 "ask for more room.");
    case FailureClass::outOfResources:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud had no room for the image at that moment. It is kept here and "
                                 "sent again with the next upload. If this goes on, tell whoever runs the "
                                 "cloud.");
    case FailureClass::tooLarge:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The image is larger than the cloud takes. It is kept here, and other "
                                 "images are sent. Ask whoever runs the cloud to allow larger ones.");
    case FailureClass::tooManyRequests:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud was too busy for the image. It is kept here and sent again with "
                                 "the next upload. Nothing needs to be done.");
    case FailureClass::serviceFault:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud has a fault of its own. Images are kept here and sent again "
                                 "with the next upload. If this lasts for hours, tell whoever runs the "
                                 "cloud.");
    case FailureClass::noImageService:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "Nothing at the cloud's address takes images. Images are still received "
                                 "and kept here. Check the address of the cloud.");
    case FailureClass::unexpectedAnswer:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "Something else answered in the cloud's place. Images are still received "
                                 "and kept here. Check the address of the cloud, and whether this network "
                                 "asks for a sign-in of its own.");
    case FailureClass::refused:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud did not take the image. It is kept here and tried again with "
                                 "each upload. If this goes on, tell whoever runs the cloud.");
    case FailureClass::kindNotSupported:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud does not take images of this kind. They are kept here, and "
                                 "other images are sent. Ask whoever runs the cloud to take them.");
    case FailureClass::contentDoesNotFit:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud found something wrong with what the image says of itself. It is "
                                 "kept here, and other images are sent. Have the device that made it "
                                 "checked, and send the image again from there.");
    case FailureClass::notUnderstood:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud could not read the image. It is kept here, and other images are "
                                 "sent. Look at it on the device that made it, and send it again from "
                                 "there.");
    case FailureClass::conversionFailed:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The image could not be compressed, and the cloud did not take it as it "
                                 "is. It is kept here, and other images are sent. Look at it on the device "
                                 "that made it, and send it again from there.");
    case FailureClass::notConfirmed:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud did not confirm that it keeps the image. It is kept here and "
                                 "sent again with the next upload. If this goes on, tell whoever runs the "
                                 "cloud.");
    case FailureClass::addressNotFound:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The address of the cloud could not be found. Images are still received "
                                 "and kept here, and are sent when the cloud is found. Check the network "
                                 "and the address of the cloud.");
    case FailureClass::notReachable:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud could not be reached. Images are still received and kept here, "
                                 "and are sent when it can be. Check the network.");
    case FailureClass::notSecure:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "No secure connection to the cloud could be made. Images are still "
                                 "received and kept here. Check the date of this computer, and the cloud's "
                                 "certificate.");
    case FailureClass::timedOut:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud did not answer in time. Images are kept here and sent again "
                                 "with the next upload. If this goes on, check the network.");
    case FailureClass::connectionLost:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The connection to the cloud was lost. Images are kept here and sent again "
                                 "with the next upload. If this goes on, check the network.");
    case FailureClass::fileMissing:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The stored file of the image is gone. Other images are sent. Put it back "
                                 "from a backup, or send the image again from the device that made it.");
    case FailureClass::fileUnreadable:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The stored file of the image could not be read. It is left as it is, and "
                                 "other images are sent. Check the disk, and send the image again from the "
                                 "device that made it.");
    case FailureClass::fileOfAnotherImage:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The stored file holds another image than the index says, so it isn't "
                                 "sent in its name. Nothing is removed. Check that the right volume stands "
                                 "where the images are stored, and run doctor.");
    case FailureClass::fileChanged:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The stored file of the image is damaged: it isn't what was received. It "
                                 "is not sent and left as it is, and other images are sent. Check the disk, "
                                 "and send the image again from the device that made it.");
    case FailureClass::withoutIdentity:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The image has no identifier that the cloud could confirm. It is kept "
                                 "here, and other images are sent. Have the device that made it checked, "
                                 "and send the image again from there.");
    case FailureClass::anotherVersionInCloud:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud holds another image under this identifier and did not take "
                                 "this one in its place. It is kept here and never removed by itself, and "
                                 "other images are sent. Ask whoever runs the cloud which of the two is "
                                 "wanted there.");
    case FailureClass::notComparable:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The cloud says that it has the image, but another image may have been sent "
                                 "under this identifier before, and what the cloud has can't be fetched for "
                                 "comparison. It is kept here and never removed by itself, and other images "
                                 "are sent. Ask whoever runs the cloud to permit fetching images.");
    case FailureClass::notLookedUp:
        return QT_TRANSLATE_NOOP(
            "FailureSentence",
            "The cloud has to be asked what it holds of this image before it is sent, and "
            "gave no usable answer. The image is kept here and tried again by itself. "
            "If this goes on, ask whoever runs the cloud to permit queries and "
            "fetching images.");
    case FailureClass::laterVersionSent:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "A later version of this image has gone to the cloud already, and this one "
                                 "is not sent over it. It is kept here and never removed by itself, and "
                                 "other images are sent. If this is the one that is wanted, send it again "
                                 "from the device that made it; else delete it here.");
    case FailureClass::indexTrouble:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "The gateway's own record of its images, or the place of their files, "
                                 "could not be read or written. Images are kept here, and sending goes on by "
                                 "itself once it can be. Check the disk of this computer, bring the volume "
                                 "of the files back where it is away, or make room.");
    case FailureClass::signInUnavailable:
        return QT_TRANSLATE_NOOP("FailureSentence",
                                 "What this gateway signs in with can't be had at this moment. Images are "
                                 "still received and kept here, and are sent when it can be. If this goes "
                                 "on, tell whoever runs the sign-in service or keeps its file.");
    case FailureClass::notThereYet:
        return QT_TRANSLATE_NOOP(
            "FailureSentence",
            "The cloud has taken the image and doesn't show it yet. It is kept here and "
            "looked for again, and sent again where it doesn't come. If this goes on, tell "
            "whoever runs the cloud.");
    case FailureClass::machineTrouble:
        return QT_TRANSLATE_NOOP(
            "FailureSentence",
            "This computer could not write a temporary file, or start a program, that the "
            "upload needs. The image itself is well, and it is kept here and tried again "
            "by itself. Make room on the disk of this computer.");
    case FailureClass::unknown:
        break;
    }
    return QT_TRANSLATE_NOOP("FailureSentence",
                             "The upload failed for another reason. Images are kept here and tried again "
                             "with each upload. If this goes on, report the problem.");
}

} // namespace

QString failureSentence(FailureClass failureClass)
{
    return QCoreApplication::translate(kContext, sourceText(failureClass));
}

} // namespace gateway::core
