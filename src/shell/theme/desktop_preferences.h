#pragma once

#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusVariant>

#include <memory>
#include <optional>

namespace gateway::shell {

class SettingsPortal;
class Theme;
enum class Variant;

/// Lets the theme follow what the desktop asks of its programs, as its settings portal tells it: less motion
/// always, dark or light when the operator wants that. A desktop without portal asks for nothing.
///
/// Owner: app. Thread: main; no call waits for the desktop.
class DesktopPreferences : public QObject
{
    Q_OBJECT

public:
    /// \param theme    outlives this.
    /// \param session  the session bus; may be one that isn't connected.
    DesktopPreferences(Theme &theme, const QDBusConnection &session);
    ~DesktopPreferences() override;

    /// Whether the theme's variant is the desktop's; it isn't, unless told. Turned off, the variant stays as
    /// it is.
    void setVariantFollows(bool follows);

private:
    void read(const QString &group, const QString &key);
    void take(const QString &group, const QString &key, const QDBusVariant &value);
    void applyVariant();

    Theme &m_theme;
    std::unique_ptr<SettingsPortal> m_portal;
    bool m_variantFollows = false;
    std::optional<Variant> m_desktopVariant; // nothing while the desktop has no preference
};

} // namespace gateway::shell
