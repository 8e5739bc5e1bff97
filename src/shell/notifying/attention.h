#pragma once

#include "platform/concurrency/clock.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QHash>
#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <chrono>
#include <utility>

namespace gateway::shell {

/// What needs a person, even one who looks at no window of ours.
enum class AttentionCause
{
    listenerFailed,
    signInNeeded,
    termsNeeded,
    allowanceUsedUp,
    diskNearlyFull
};

/// The desktop's place for messages that come by themselves. A port.
///
/// Thread: main; no call waits for the desktop.
class DesktopMessages
{
public:
    virtual ~DesktopMessages() = default;

    /// \param title, body  plain text without anybody's name.
    virtual void show(const QString &title, const QString &body) = 0;
};

/// Tells people on their desktop what needs them, each cause at most once in ten minutes.
///
/// Owner: app. Thread: main.
class Attention
{
    Q_DECLARE_TR_FUNCTIONS(Attention)

public:
    static constexpr std::chrono::minutes kPause{10};

    Attention(DesktopMessages &messages, const platform::Clock &clock) : m_messages(messages), m_clock(clock)
    {
    }

    /// Somebody is needed because of `cause`.
    void call(AttentionCause cause);

private:
    static std::pair<QString, QString> words(AttentionCause cause);

    DesktopMessages &m_messages;
    const platform::Clock &m_clock;
    QHash<AttentionCause, std::chrono::nanoseconds> m_lastCall;
};

} // namespace gateway::shell
