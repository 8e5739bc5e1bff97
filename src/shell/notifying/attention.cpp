#include "shell/notifying/attention.h"

namespace gateway::shell {

/// Title and body; never a name, an address or a path, since a lock screen may show them.
std::pair<QString, QString> Attention::words(AttentionCause cause)
{
    switch (cause) {
    case AttentionCause::listenerFailed:
        return {tr("No images can be received"),
                tr("The DIMSE listener could not be started. Open the dashboard to see why.")};
    case AttentionCause::signInNeeded:
        return {tr("Sign in to go on uploading"),
                tr("Images are still received and kept here. They are sent once you are signed in.")};
    case AttentionCause::termsNeeded:
        return {tr("Quorin Cloud asks for its terms to be accepted"),
                tr("Images are still received and kept here. They are sent once the terms are accepted.")};
    case AttentionCause::allowanceUsedUp:
        return {tr("The room in Quorin Cloud is used up"),
                tr("Images are still received and kept here. They are sent once there is room again.")};
    case AttentionCause::diskNearlyFull:
        return {
            tr("This computer's disk is nearly full"),
            tr("Soon no more images can be received. Free some room, or let uploaded images be deleted.")};
    }
    return {};
}

void Attention::call(AttentionCause cause)
{
    const std::chrono::nanoseconds now = m_clock.monotonic();
    const auto last = m_lastCall.constFind(cause);
    if (last != m_lastCall.constEnd() && now - *last < kPause) {
        return;
    }
    m_lastCall.insert(cause, now);
    const auto [title, body] = words(cause);
    m_messages.show(title, body);
}

} // namespace gateway::shell
