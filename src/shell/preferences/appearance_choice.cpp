#include "shell/preferences/appearance_choice.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "platform/defaults/user_defaults.h"
#include "shell/theme/desktop_preferences.h"
#include "shell/theme/theme.h"

namespace gateway::shell {

AppearanceChoice::AppearanceChoice(Theme &theme,
                                   DesktopPreferences &desktop,
                                   platform::UserDefaults &defaults,
                                   platform::NotificationCenter &notifications)
    : m_theme(theme), m_desktop(desktop), m_defaults(defaults)
{
    platform::assertMainThread("AppearanceChoice");
    m_settingsObserver =
        notifications.observe(core::kSettingsChanged, [this](const QVariantMap &) { follow(); });
    follow();
}

void AppearanceChoice::follow()
{
    const QString kept = m_defaults.object(core::kAppearanceKey).value_or(QVariant()).toString();
    apply(core::appearanceFromRawValue(kept).value_or(core::Appearance::dark));
}

void AppearanceChoice::choose(core::Appearance appearance)
{
    if (appearance != m_current) {
        m_defaults.setObject(core::kAppearanceKey, core::rawValue(appearance));
        apply(appearance);
    }
}

void AppearanceChoice::apply(core::Appearance appearance)
{
    m_desktop.setVariantFollows(appearance == core::Appearance::desktop);
    if (appearance != core::Appearance::desktop) {
        m_theme.setVariant(appearance == core::Appearance::light ? Variant::light : Variant::dark);
    }
    if (appearance != m_current) {
        m_current = appearance;
        Q_EMIT changed();
    }
}

} // namespace gateway::shell
