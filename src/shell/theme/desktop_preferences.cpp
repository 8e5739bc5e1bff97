#include "shell/theme/desktop_preferences.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/settings_portal.h"
#include "shell/theme/theme.h"

#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>

namespace gateway::shell {

namespace {

constexpr QStringView kAppearance = u"org.freedesktop.appearance";
constexpr QStringView kColorScheme = u"color-scheme";
constexpr QStringView kInterface = u"org.gnome.desktop.interface";
constexpr QStringView kAnimations = u"enable-animations";

// The portal's numbers for color-scheme.
constexpr uint kPreferDark = 1;
constexpr uint kPreferLight = 2;

/// The portal's older call wraps a value twice.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

DesktopPreferences::DesktopPreferences(Theme &theme, const QDBusConnection &session) : m_theme(theme)
{
    platform::assertMainThread("DesktopPreferences");
    if (!session.isConnected()) {
        return;
    }
    qRegisterMetaType<QDBusVariant>(); // by name, for the signal
    m_portal = std::make_unique<SettingsPortal>(session);
    connect(m_portal.get(), &SettingsPortal::SettingChanged, this, &DesktopPreferences::take);
    read(kAppearance.toString(), kColorScheme.toString());
    read(kInterface.toString(), kAnimations.toString());
}

DesktopPreferences::~DesktopPreferences() = default;

void DesktopPreferences::read(const QString &group, const QString &key)
{
    auto *answer = new QDBusPendingCallWatcher(m_portal->asyncCall(QStringLiteral("Read"), group, key), this);
    connect(
        answer, &QDBusPendingCallWatcher::finished, this, [this, group, key](QDBusPendingCallWatcher *done) {
            const QDBusPendingReply<QDBusVariant> reply = *done;
            if (reply.isValid()) {
                take(group, key, reply.value());
            }
            done->deleteLater();
        });
}

void DesktopPreferences::take(const QString &group, const QString &key, const QDBusVariant &value)
{
    const QVariant plain = unwrapped(value.variant());
    if (group == kInterface && key == kAnimations && plain.metaType() == QMetaType::fromType<bool>()) {
        m_theme.setReducedMotion(!plain.toBool());
    } else if (group == kAppearance && key == kColorScheme) {
        const uint scheme = plain.toUInt();
        m_desktopVariant = scheme == kPreferDark    ? std::optional(Variant::dark)
                           : scheme == kPreferLight ? std::optional(Variant::light)
                                                    : std::nullopt;
        applyVariant();
    }
}

void DesktopPreferences::setVariantFollows(bool follows)
{
    m_variantFollows = follows;
    applyVariant();
}

void DesktopPreferences::applyVariant()
{
    if (m_variantFollows) {
        m_theme.setVariant(m_desktopVariant.value_or(Variant::dark));
    }
}

} // namespace gateway::shell
