// A sentence for each kind of finding: what it means, and what to do.

#include "doctor/diagnosis.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace gateway::doctor {

namespace {

constexpr const char *kContext = "DoctorFinding";

struct Words
{
    const char *rawValue;
    bool isProblem;
    const char *sentence;
};

Words wordsOf(FindingKind kind)
{
    switch (kind) {
    case FindingKind::indexDamaged:
        return {"indexDamaged",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The index is damaged, and nothing is changed in it. Restore it from a "
                                  "backup; or end the gateway, move the index away and run doctor --repair, "
                                  "which records the stored images anew.")};
    case FindingKind::indexNotAnswering:
        return {
            "indexNotAnswering",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "The index could not be read or written to the end. Check that its disk has "
                              "room and can be written, and run doctor again.")};
    case FindingKind::indexMadeAnew:
        return {"indexMadeAnew",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The index lacks stored images: it was made anew, or came back from a "
                                  "backup. They are being recorded in it again while the gateway runs, and "
                                  "by --repair at once.")};
    case FindingKind::wrongCount:
        return {"wrongCount",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A count in the index isn't that of its images. --repair counts anew.")};
    case FindingKind::wrongState:
        return {"wrongState",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The state of a study or series isn't that of its images. --repair works "
                                  "it out anew.")};
    case FindingKind::unrecordedImage:
        return {"unrecordedImage",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A stored image is missing in the index, so that it isn't sent. --repair "
                                  "records it.")};
    case FindingKind::unreadableFile:
        return {"unreadableFile",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A stored file can't be read as an image. It is kept; look at it, and send "
                                  "the image again from the device that made it.")};
    case FindingKind::unexaminedFile:
        return {"unexaminedFile",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A stored file could not be read, which may pass. Check its disk, and run "
                                  "doctor again.")};
    case FindingKind::fileGone:
        return {"fileGone",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The stored file of an image is gone, and the image isn't in the cloud. "
                                  "Put the file back from a backup, or send the image again from the device "
                                  "that made it.")};
    case FindingKind::folderGone:
        return {"folderGone",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The folder of a stored file can't be seen. Check that its disk is there; "
                                  "nothing is changed.")};
    case FindingKind::rowWithoutFile:
        return {"rowWithoutFile",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "An image in the index names no file, so that it can't be sent. Where "
                                  "another file store was taken for that of the index, it lies in the one "
                                  "before; else send it again from the device that made it.")};
    case FindingKind::fileGoneAfterUpload:
        return {"fileGoneAfterUpload",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The stored file of an image is gone, but the image is in the cloud. "
                                  "Nothing needs to be done.")};
    case FindingKind::earlierCopy:
        return {"earlierCopy",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "An earlier copy of an image that came more than once is kept. Where the "
                                  "store put it there itself, --repair lets it go once the later one is in "
                                  "the cloud.")};
    case FindingKind::wholeCopy:
        return {
            "wholeCopy",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "A stored file of an image ends too early, and an earlier one that is whole "
                              "is kept beside it. --repair lets the whole one be sent.")};
    case FindingKind::damagedImage:
        return {"damagedImage",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A received image ends too early. It is kept, and sent where no whole one "
                                  "is known. Send it again from the device that made it: a whole one "
                                  "takes its place.")};
    case FindingKind::unsentVersion:
        return {"unsentVersion",
                true,
                QT_TRANSLATE_NOOP(
                    "DoctorFinding",
                    "A received image was not sent: another version of it, brought in by a person or of "
                    "unknown origin, came later and is in the cloud. Both are kept. Send it again "
                    "from the device that made it: what comes last is sent.")};
    case FindingKind::foreignFile:
        return {
            "foreignFile",
            false,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "A file that isn't an image lies among the stored ones. It is left alone.")};
    case FindingKind::waitsForRemoval:
        return {"waitsForRemoval",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The file of a deleted image waits to be removed. The gateway goes on "
                                  "trying.")};
    case FindingKind::waitsInInbox:
        return {"waitsInInbox",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "A received image waits in the incoming folder. It is taken in while the "
                                  "listener runs.")};
    case FindingKind::waitsLongInInbox:
        return {
            "waitsLongInInbox",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "A received image has been waiting in the incoming folder for more than five "
                              "minutes. It is kept. Start the gateway and its listener where they don't "
                              "run, and see to what else is told here; it is taken in by itself then.")};
    case FindingKind::notRemovedFromInbox:
        return {
            "notRemovedFromInbox",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "The file of an image that was taken in can't be removed from the incoming "
                              "folder, which fills up so. The image is safe. Let the gateway delete files "
                              "there, or see whether the disk can be written; the gateway goes on trying.")};
    case FindingKind::inboxOutOfSight:
        return {"inboxOutOfSight",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The incoming folder is out of sight, or another one stands in its place, "
                                  "and received images may wait in it. Bring its volume back; what waits is "
                                  "taken in by itself. Where it is gone for good, make an empty folder .part "
                                  "in it, in the place of one that is there.")};
    case FindingKind::formerInboxOutOfSight:
        return {"formerInboxOutOfSight",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "An incoming folder that was used before another was chosen is out of "
                                  "sight, and received images may wait there. Bring its volume back; what "
                                  "waits is taken in by itself.")};
    case FindingKind::inboxOfAnotherHome:
        return {"inboxOfAnotherHome",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "Received images wait in an incoming folder that was used while this home "
                                  "lay elsewhere. They are left to the gateway of that home. Where there is "
                                  "none, because the home was moved, choose that folder as the incoming "
                                  "folder until it is empty.")};
    case FindingKind::inboxInUse:
        return {"inboxInUse",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "Another gateway works in an incoming folder of this one, which leaves it "
                                  "alone. Give each gateway an incoming folder of its own.")};
    case FindingKind::indexNotWritten:
        return {"indexNotWritten",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The index can't be written, so that nothing is taken in or sent. What was "
                                  "received is kept. Check that its disk has room and can be written; the "
                                  "gateway goes on by itself then.")};
    case FindingKind::storeNotWritten:
        return {"storeNotWritten",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The file store can't be written, so that nothing is taken in. What was "
                                  "received is kept in the incoming folder. Check that its disk has room and "
                                  "can be written; the gateway goes on by itself then.")};
    case FindingKind::storeOutOfSight:
        return {"storeOutOfSight",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "Images were stored in the file store, and now not even its folders are "
                                  "there. Nothing is taken in; what was received is kept in the incoming "
                                  "folder. Bring its volume back; where the store was emptied on purpose, "
                                  "make a folder 10000 in it.")};
    case FindingKind::anotherStore:
        return {"anotherStore",
                true,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "Another file store stands where that of the index was: it has another "
                                  "number, or holds other images. Nothing is taken in, sent or removed; what "
                                  "was received is kept in the incoming folder. Bring the right volume "
                                  "back. Only where this is the one to be used from now on: --repair takes "
                                  "it for that, and records what it holds; of the other one, images that "
                                  "weren't sent are told as images without a file.")};
    case FindingKind::listenerNotListening:
        return {
            "listenerNotListening",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "The listener is switched on but doesn't listen, so that no device can send "
                              "images. quorin-gateway status says why.")};
    case FindingKind::nobodySignedIn:
        return {
            "noSession",
            true,
            QT_TRANSLATE_NOOP("DoctorFinding",
                              "An image waits, and nobody is signed in to the cloud. It is kept here, but "
                              "not sent. Sign in: quorin-gateway sign-in --email ADDRESS.")};
    case FindingKind::formerIndexKept:
        return {"formerIndexKept",
                false,
                QT_TRANSLATE_NOOP("DoctorFinding",
                                  "The index as the version before left it is kept, so that one can go back "
                                  "to that version. It goes when this one has been ended in an orderly way "
                                  "and starts again.")};
    case FindingKind::rejectedObject:
        break;
    }
    return {
        "rejectedObject",
        true,
        QT_TRANSLATE_NOOP("DoctorFinding",
                          "A received object could not be taken in and is kept in the folder .rejected of "
                          "the incoming folder. --repair tries it again. What stays is perhaps no image: "
                          "look at it, send it again from the device that made it, and move it away.")};
}

} // namespace

QLatin1StringView rawValue(FindingKind kind)
{
    return QLatin1StringView(wordsOf(kind).rawValue);
}

bool isProblem(FindingKind kind)
{
    return wordsOf(kind).isProblem;
}

bool isMendable(FindingKind kind)
{
    switch (kind) {
    case FindingKind::indexMadeAnew:
    case FindingKind::wrongCount:
    case FindingKind::wrongState:
    case FindingKind::unrecordedImage:
    case FindingKind::earlierCopy:
    case FindingKind::wholeCopy:
    case FindingKind::waitsForRemoval:
    case FindingKind::anotherStore:
    case FindingKind::rejectedObject:
        return true;
    case FindingKind::indexDamaged:
    case FindingKind::indexNotAnswering:
    case FindingKind::unreadableFile:
    case FindingKind::unexaminedFile:
    case FindingKind::fileGone:
    case FindingKind::folderGone:
    case FindingKind::rowWithoutFile:
    case FindingKind::fileGoneAfterUpload:
    case FindingKind::damagedImage:
    case FindingKind::unsentVersion:
    case FindingKind::foreignFile:
    case FindingKind::waitsInInbox:
    case FindingKind::waitsLongInInbox:
    case FindingKind::notRemovedFromInbox:
    case FindingKind::inboxOutOfSight:
    case FindingKind::formerInboxOutOfSight:
    case FindingKind::inboxOfAnotherHome:
    case FindingKind::inboxInUse:
    case FindingKind::indexNotWritten:
    case FindingKind::storeNotWritten:
    case FindingKind::storeOutOfSight:
    case FindingKind::listenerNotListening:
    case FindingKind::nobodySignedIn:
    case FindingKind::formerIndexKept:
        break;
    }
    return false;
}

QString findingSentence(FindingKind kind)
{
    return QCoreApplication::translate(kContext, wordsOf(kind).sentence);
}

bool Diagnosis::isWell() const
{
    return !wasStopped && failures.isEmpty() && std::ranges::all_of(findings, [](const Finding &finding) {
        return !isProblem(finding.kind) || finding.mended == finding.count;
    });
}

} // namespace gateway::doctor
