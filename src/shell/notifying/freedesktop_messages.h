#pragma once

#include "shell/notifying/attention.h"

#include <QtDBus/QDBusConnection>

namespace gateway::shell {

/// Messages through the desktop's notification service, org.freedesktop.Notifications. A desktop without one
/// shows none.
///
/// Owner: app. Thread: main.
class FreedesktopMessages final : public DesktopMessages
{
public:
    /// \param session  the session bus; may be one that isn't connected.
    explicit FreedesktopMessages(const QDBusConnection &session) : m_session(session) {}

    void show(const QString &title, const QString &body) override;

private:
    QDBusConnection m_session;
};

} // namespace gateway::shell
