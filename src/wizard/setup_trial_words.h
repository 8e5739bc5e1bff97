#pragma once

#include "wizard/sample_removal.h"

#include <QtCore/QString>

namespace gateway::wizard {

// What comes of each step of a trial, for people. Thread: any; pure functions.

QString noListenerWords();
QString notKeptWords();
QString sentWords(const platform::SampleDestination &listener);
QString notSentWords(const platform::SampleOutcome &outcome, const platform::SampleDestination &listener);
QString recordedWords();
QString notRecordedWords(const LocalSample &here);
QString signedOutWords();
QString uploadedWords();
QString goneWords();
QString notUploadedWords(const LocalSample &here);
QString foundWords();

/// \param problem  what the cloud said; nothing where it answered and found nothing.
QString notFoundWords(const std::optional<QString> &problem);

QString neverSentWords();
QString removedWords(const SampleRemoved &removed);
QString nothingToRemoveWords();

/// \param wasStopped  by a person.
QString skippedWords(bool wasStopped);

} // namespace gateway::wizard
