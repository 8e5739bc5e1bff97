#include "wizard/setup_trial_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::wizard {

using platform::SampleDestination;
using platform::SampleOutcome;

namespace {

QString place(const SampleDestination &listener)
{
    return QStringLiteral("%1:%2").arg(listener.address).arg(listener.port);
}

/// A status as the standard's tables have it.
QString statusText(int status)
{
    return QStringLiteral("%1").arg(status, 4, 16, QLatin1Char('0')).toUpper();
}

} // namespace

QString noListenerWords()
{
    return QCoreApplication::translate(
        "SetupTrial", "The listener isn't running. Start it on the dashboard, then try again.");
}

QString notKeptWords()
{
    return QCoreApplication::translate(
        "SetupTrial",
        "The settings can't be written, so no sample was sent. Check the disk, then try again.");
}

QString sentWords(const SampleDestination &listener)
{
    return QCoreApplication::translate("SetupTrial", "%1 took it at %2.")
        .arg(listener.calledTitle, place(listener));
}

QString notSentWords(const SampleOutcome &outcome, const SampleDestination &listener)
{
    switch (outcome.kind) {
    case SampleOutcome::Kind::stored:
        return sentWords(listener);
    case SampleOutcome::Kind::unreachable:
        return QCoreApplication::translate(
                   "SetupTrial",
                   "Nothing answers at %1. A firewall on this computer may block the port; else restart the "
                   "listener on the dashboard.")
            .arg(place(listener));
    case SampleOutcome::Kind::rejected:
        return QCoreApplication::translate(
            "SetupTrial", "The listener takes no more connections now. Try again in a minute.");
    case SampleOutcome::Kind::notTaken:
        return QCoreApplication::translate("SetupTrial",
                                           "What listens at %1 takes no images. It may be another program: "
                                           "choose another port.")
            .arg(place(listener));
    case SampleOutcome::Kind::failed:
        return QCoreApplication::translate("SetupTrial",
                                           "The listener refused the image (status %1). Check that the disks "
                                           "of the incoming folder and of the images have room.")
            .arg(statusText(outcome.status));
    case SampleOutcome::Kind::broken:
        return QCoreApplication::translate("SetupTrial",
                                           "The connection to %1 was cut. Look into the log for why.")
            .arg(place(listener));
    case SampleOutcome::Kind::silent:
        return QCoreApplication::translate(
                   "SetupTrial",
                   "%1 didn't answer in time. The disk of the incoming folder may be slow or away.")
            .arg(place(listener));
    case SampleOutcome::Kind::unavailable:
        return QCoreApplication::translate(
            "SetupTrial", "A part of Quorin Gateway that sends the sample can't run. Install it anew.");
    }
    return {};
}

QString recordedWords()
{
    return QCoreApplication::translate("SetupTrial", "It stands in the index of this computer.");
}

QString notRecordedWords(const LocalSample &here)
{
    return here.state == LocalSample::State::absent
               ? QCoreApplication::translate(
                     "SetupTrial",
                     "It was taken, but it isn't here. Another program may listen on this port.")
               : QCoreApplication::translate(
                     "SetupTrial",
                     "It waits in the incoming folder. The disk of the images may be full or away; the log "
                     "says why.");
}

QString signedOutWords()
{
    return QCoreApplication::translate(
        "SetupTrial", "Nobody is signed in. Images are received and kept; sign in and they are uploaded.");
}

QString uploadedWords()
{
    return QCoreApplication::translate("SetupTrial", "The cloud took it.");
}

QString goneWords()
{
    return QCoreApplication::translate("SetupTrial", "It was deleted here meanwhile.");
}

QString notUploadedWords(const LocalSample &here)
{
    if (here.cause) {
        return core::failureSentence(*here.cause);
    }
    return QCoreApplication::translate("SetupTrial",
                                       "Its turn hasn't come: other images go first. The dashboard shows how "
                                       "far they are.");
}

QString foundWords()
{
    return QCoreApplication::translate("SetupTrial", "A query finds it.");
}

QString notFoundWords(const std::optional<QString> &problem)
{
    return problem ? QCoreApplication::translate("SetupTrial", "The query failed: %1").arg(*problem)
                   : QCoreApplication::translate(
                         "SetupTrial", "The cloud took it, but doesn't find it yet. It may need more time.");
}

QString neverSentWords()
{
    return QCoreApplication::translate("SetupTrial",
                                       "Nothing of it is left here. It never went to the cloud.");
}

QString removedWords(const SampleRemoved &removed)
{
    switch (removed.rest) {
    case SampleRemoved::Rest::none:
        return QCoreApplication::translate("SetupTrial", "Nothing of it is left, here or in the cloud.");
    case SampleRemoved::Rest::yetToCome:
        return QCoreApplication::translate("SetupTrial",
                                           "It isn't recorded yet. It is deleted as soon as it is.");
    case SampleRemoved::Rest::here:
        return QCoreApplication::translate("SetupTrial",
                                           "It can't be deleted here now. It is tried again by itself.");
    case SampleRemoved::Rest::beingUploaded:
        return QCoreApplication::translate("SetupTrial",
                                           "It is deleted here. Should the upload under way carry it, it is "
                                           "deleted in the cloud afterwards.");
    case SampleRemoved::Rest::inCloud:
        return removed.why
                   ? QCoreApplication::translate("SetupTrial",
                                                 "It is deleted here. If the cloud has it, it isn't deleted "
                                                 "there yet: %1 It is tried again by itself; "
                                                 "else delete the study of TEST QUORIN GATEWAY there.")
                         .arg(*removed.why)
                   : QCoreApplication::translate("SetupTrial",
                                                 "It is deleted here. Should it be in the cloud, it is "
                                                 "deleted there once somebody is "
                                                 "signed in.");
    case SampleRemoved::Rest::mayComeLater:
        return QCoreApplication::translate("SetupTrial",
                                           "Nothing of it is left here, and nothing of it is in the cloud "
                                           "now. Should it show up there within a day, it is deleted then.");
    }
    return {};
}

QString nothingToRemoveWords()
{
    return QCoreApplication::translate("SetupTrial", "There is nothing to delete.");
}

QString skippedWords(bool wasStopped)
{
    return wasStopped ? QCoreApplication::translate("SetupTrial", "Stopped.")
                      : QCoreApplication::translate("SetupTrial", "Not tried.");
}

} // namespace gateway::wizard
