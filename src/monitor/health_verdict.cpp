#include "monitor/health_verdict.h"

#include <QtCore/QStringList>

namespace gateway::monitor {

namespace {

/// "40 s", "3 min", "5 h" or "2 d", rounded down.
QString durationText(std::chrono::milliseconds duration)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
    if (seconds < 60) {
        return QStringLiteral("%1 s").arg(seconds);
    }
    if (seconds < 3600) {
        return QStringLiteral("%1 min").arg(seconds / 60);
    }
    return seconds < 86'400 ? QStringLiteral("%1 h").arg(seconds / 3600)
                            : QStringLiteral("%1 d").arg(seconds / 86'400);
}

QString listenerWords(const HealthFigures &figures)
{
    if (!figures.isSetupFinished) {
        return QStringLiteral("Setup isn't finished");
    }
    if (figures.listener.isListening) {
        return QStringLiteral("Listening as %1 on port %2")
            .arg(figures.listener.aeTitle)
            .arg(figures.listener.port);
    }
    return figures.listener.isEnabled ? QStringLiteral("Not listening")
                                      : QStringLiteral("Listener switched off");
}

QString queueWords(const HealthFigures::Index &index)
{
    if (!index.isAnswering) {
        return QStringLiteral("the index doesn't answer");
    }
    if (index.unsent == 0) {
        return QStringLiteral("all images sent");
    }
    QString words = QStringLiteral("%1 images to send").arg(index.unsent);
    if (index.oldestUnsentAge) {
        words += QStringLiteral(", the oldest for ") + durationText(*index.oldestUnsentAge);
    }
    return index.failed == 0 ? words : words + QStringLiteral(", %1 failed").arg(index.failed);
}

QString sessionWords(account::SessionState session)
{
    switch (session) {
    case account::SessionState::notKnownYet:
        return QStringLiteral("session not known yet");
    case account::SessionState::signedOut:
        return QStringLiteral("signed out");
    case account::SessionState::ended:
        return QStringLiteral("session ended by the cloud");
    case account::SessionState::signedIn:
        return QStringLiteral("signed in");
    case account::SessionState::credentialsRefused:
        return QStringLiteral("user name or password refused");
    case account::SessionState::signInUnavailable:
        return QStringLiteral("what it takes to sign in can't be had");
    }
    return {};
}

/// What is told and has no part in the verdict, since no restart would help.
QString addition(const HealthFigures &figures)
{
    QString words;
    if (figures.isStoreOutOfSight) {
        words += QStringLiteral(" The file store can't be seen, so nothing is taken in.");
    }
    if (figures.inbox.outOfSight > 0) {
        words += QStringLiteral(" An incoming folder can't be seen; received images may wait in it.");
    }
    if (figures.inbox.isWaitingLong()) {
        words += QStringLiteral(" %1 received images aren't taken in, the first for %2.")
                     .arg(figures.inbox.waiting)
                     .arg(durationText(figures.inbox.longestWait));
    }
    return words;
}

HealthVerdict verdictOnListener(const HealthFigures &figures)
{
    if (!figures.index.isAnswering) {
        return {false, QStringLiteral("The index doesn't answer.")};
    }
    if (!figures.isSetupFinished) {
        return {true, QStringLiteral("Setup isn't finished, so nothing is received.")};
    }
    if (!figures.listener.isEnabled) {
        return {true, QStringLiteral("The listener is switched off in the settings.")};
    }
    if (figures.listener.isListening) {
        return {true, QStringLiteral("The listener runs on port %1.").arg(figures.listener.port)};
    }
    return {false,
            figures.listener.failure.isEmpty()
                ? QStringLiteral("The listener doesn't run.")
                : QStringLiteral("The listener doesn't run: ") + figures.listener.failure};
}

} // namespace

HealthVerdict verdictOn(const HealthFigures &figures)
{
    HealthVerdict verdict = verdictOnListener(figures);
    verdict.sentence += addition(figures);
    return verdict;
}

HealthVerdict verdictOnSilence()
{
    return {false, QStringLiteral("The main loop of the gateway doesn't answer.")};
}

QString statusLine(const HealthFigures &figures)
{
    QStringList parts{listenerWords(figures), queueWords(figures.index)};
    if (figures.isStoreOutOfSight) {
        parts.append(QStringLiteral("file store out of sight"));
    }
    if (figures.inbox.outOfSight > 0) {
        parts.append(QStringLiteral("incoming folder out of sight"));
    }
    if (figures.inbox.isWaitingLong()) {
        parts.append(QStringLiteral("%1 not taken in, the first for %2")
                         .arg(figures.inbox.waiting)
                         .arg(durationText(figures.inbox.longestWait)));
    }
    if (figures.inbox.setAside > 0) {
        parts.append(QStringLiteral("%1 set aside").arg(figures.inbox.setAside));
    }
    if (figures.cloud.session != account::SessionState::signedIn) {
        parts.append(sessionWords(figures.cloud.session));
    } else if (!figures.cloud.isOnline.value_or(true)) {
        parts.append(QStringLiteral("cloud away"));
    }
    return parts.join(QStringLiteral("; "));
}

} // namespace gateway::monitor
