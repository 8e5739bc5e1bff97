#include "terminal/instance/settings_table.h"

#include "cloud_client/cloud_configuration.h"
#include "core/appearance.h"
#include "core/automatic_update_checks.h"
#include "core/dcm_listener_settings.h"
#include "core/gateway_auto_delete_mode.h"
#include "core/log_limit.h"
#include "core/retention_policy.h"
#include "terminal/commands/retention_option.h"
#include "terminal/instance/settings_rules.h"

#include <QtCore/QDateTime>

#include <utility>
#include <vector>

namespace gateway::terminal {

namespace {

using core::DCMListenerSettings;
using core::Settings;
using platform::Published;
using platform::UserDefaults;

QString textOf(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString textOf(const QString &value)
{
    return value;
}

QString textOf(const QDateTime &value)
{
    return value.toUTC().toString(Qt::ISODate);
}

QString textOf(int value)
{
    return QString::number(value);
}

QString textOf(std::chrono::seconds value)
{
    return QString::number(value.count());
}

QString textOf(core::GatewayAutoDeleteMode value)
{
    return core::rawValue(value);
}

template <typename T>
QString textOf(const std::optional<T> &value)
{
    return value ? textOf(*value) : QString();
}

/// Shows a field of Settings.
template <typename T>
CatalogueSetting::Read shown(Published<T> Settings::*member)
{
    return
        [member](const Settings &settings, const UserDefaults &) { return textOf((settings.*member).get()); };
}

CatalogueSetting flag(const QString &key, Published<bool> Settings::*member)
{
    return {key, shown(member), [key, member](const SettingsGround &ground, const QString &value) {
                return settings_rules::setFlag(
                    key, value, [&](bool on) { return (ground.settings.*member).set(on); });
            }};
}

template <typename T>
CatalogueSetting choice(const QString &key, Published<T> Settings::*member, std::vector<int> choices)
{
    return {key,
            shown(member),
            [key, member, choices = std::move(choices)](const SettingsGround &ground, const QString &value) {
                return settings_rules::setChoice(key, value, choices, [&](int number) {
                    return (ground.settings.*member).set(static_cast<T>(number));
                });
            }};
}

template <typename T>
CatalogueSetting fixed(const QString &key, Published<T> Settings::*member)
{
    return {key, shown(member), {}};
}

/// A value that stands in the defaults without a field of Settings.
CatalogueSetting plain(const QString &key, CatalogueSetting::Write write)
{
    return {key,
            [key](const Settings &, const UserDefaults &defaults) {
                return defaults.object(key).value_or(QVariant()).toString();
            },
            std::move(write)};
}

template <typename Value>
CatalogueSetting listenerMember(const QString &name,
                                Value DCMListenerSettings::*member,
                                std::optional<QString> (*change)(DCMListenerSettings &, const QString &))
{
    return {QStringLiteral("ListenerSettings.") + name,
            [member](const Settings &, const UserDefaults &defaults) {
                const DCMListenerSettings record = DCMListenerSettings::load(defaults);
                if constexpr (std::is_same_v<Value, std::optional<bool>>) {
                    return textOf((record.*member).value_or(true));
                } else if constexpr (std::is_same_v<Value, std::optional<int>>) {
                    return textOf((record.*member).value_or(core::kDefaultAssociationsPerAddress));
                } else if constexpr (std::is_enum_v<Value>) {
                    return QString::number(static_cast<int>(record.*member));
                } else {
                    return textOf(record.*member);
                }
            },
            [change](const SettingsGround &ground, const QString &value) {
                return settings_rules::changeListener(ground.defaults, value, change);
            },
            true};
}

CatalogueSetting destinationFolder()
{
    return {QStringLiteral("ListenerDestinationFolder"),
            shown(&Settings::listenerDestinationFolder),
            [](const SettingsGround &ground, const QString &value) {
                return settings_rules::setDestinationFolder(ground.settings, ground.disk, value);
            },
            true};
}

QList<CatalogueSetting> listenerSettings()
{
    return {
        listenerMember(QStringLiteral("aeTitle"), &DCMListenerSettings::aeTitle, settings_rules::setAETitle),
        listenerMember(QStringLiteral("port"), &DCMListenerSettings::port, settings_rules::setPort),
        listenerMember(QStringLiteral("timeout"), &DCMListenerSettings::timeout, settings_rules::setTimeout),
        listenerMember(QStringLiteral("associationsPerAddress"),
                       &DCMListenerSettings::associationsPerAddress,
                       settings_rules::setAssociationsPerAddress),
        listenerMember(QStringLiteral("syntax"), &DCMListenerSettings::syntax, settings_rules::setSyntax),
        listenerMember(
            QStringLiteral("isEnabled"), &DCMListenerSettings::isEnabled, settings_rules::setIsEnabled),
        listenerMember(QStringLiteral("advertiseWithBonjour"),
                       &DCMListenerSettings::advertiseWithBonjour,
                       settings_rules::setAdvertise),
        destinationFolder(),
    };
}

QList<CatalogueSetting> cloudSettings()
{
    return {
        {QString::fromLatin1(cloud_client::kCloudBaseUrlKey),
         [](const Settings &, const UserDefaults &defaults) {
             return settings_rules::cloudAddressText(defaults);
         },
         [](const SettingsGround &ground, const QString &value) {
             return settings_rules::setCloudAddress(ground.defaults, value);
         }},
        plain(QString::fromLatin1(cloud_client::kCloudKindKey),
              [](const SettingsGround &ground, const QString &value) {
                  return settings_rules::setCloudKind(ground.defaults, value);
              }),
        plain(QString::fromLatin1(cloud_client::kCloudCertificateFileKey),
              [](const SettingsGround &ground, const QString &value) {
                  return settings_rules::setCloudCertificateFile(ground.defaults, ground.disk, value);
              }),
        plain(QString::fromLatin1(cloud_client::kCloudProxyKey),
              [](const SettingsGround &ground, const QString &value) {
                  return settings_rules::setCloudProxy(ground.defaults, value);
              }),
        plain(QStringLiteral("QuorinRetrieveMode"),
              [](const SettingsGround &ground, const QString &value) {
                  return settings_rules::setRetrieveMode(ground.defaults, value);
              }),
        plain(core::kLogLimitKey,
              [](const SettingsGround &ground, const QString &value) {
                  return settings_rules::setLogLimit(ground.defaults, value);
              }),
        choice(QStringLiteral("wadoLimit"), &Settings::wadoLimit, {2, 4, 6, 8, 10}),
        flag(QStringLiteral("quorinCloudBatchEnabled"), &Settings::quorinCloudBatchEnabled),
        choice(QStringLiteral("quorinCloudBatchUploadCount"),
               &Settings::quorinCloudBatchUploadCount,
               {2, 4, 8, 16, 24, 32}),
        flag(QStringLiteral("quorinCloudCompressToLS"), &Settings::quorinCloudCompressToLS),
    };
}

QList<CatalogueSetting> retentionSettings()
{
    return {
        {QStringLiteral("GatewayAutoDelete"),
         [](const Settings &settings, const UserDefaults &) {
             return retentionText(core::effectiveRetentionPolicy(settings));
         },
         [](const SettingsGround &ground, const QString &value) {
             return settings_rules::setAutoDelete(ground.settings, value);
         }},
        {QStringLiteral("GatewayAutoDeleteMode"),
         shown(&Settings::gatewayAutoDeleteMode),
         [](const SettingsGround &ground, const QString &value) {
             return settings_rules::setAutoDeleteMode(ground.settings, value);
         }},
        {QStringLiteral("GatewayAutoDeleteValue"),
         shown(&Settings::gatewayAutoDeleteValue),
         [](const SettingsGround &ground, const QString &value) {
             return settings_rules::setAutoDeleteValue(ground.settings, value);
         }},
    };
}

CatalogueSetting appearance()
{
    return {core::kAppearanceKey,
            [](const Settings &, const UserDefaults &defaults) {
                const QString stored = defaults.object(core::kAppearanceKey).value_or(QVariant()).toString();
                return core::rawValue(core::appearanceFromRawValue(stored).value_or(core::Appearance::dark));
            },
            [](const SettingsGround &ground, const QString &value) {
                return settings_rules::setAppearance(ground.defaults, value);
            }};
}

CatalogueSetting automaticUpdateChecks()
{
    return {core::kAutomaticUpdateChecksKey,
            [](const Settings &, const UserDefaults &defaults) {
                return textOf(core::areUpdatesCheckedAutomatically(defaults));
            },
            [](const SettingsGround &ground, const QString &value) {
                return settings_rules::setFlag(core::kAutomaticUpdateChecksKey, value, [&](bool on) {
                    return ground.defaults.setObject(core::kAutomaticUpdateChecksKey, on);
                });
            }};
}

QList<CatalogueSetting> keptByTheGateway()
{
    return {
        fixed(QStringLiteral("GatewaySetupCompleted"), &Settings::gatewaySetupCompleted),
        fixed(QStringLiteral("GatewaySetupCompletedAt"), &Settings::gatewaySetupCompletedAt),
        fixed(QStringLiteral("GatewaySetupVersion"), &Settings::gatewaySetupVersion),
        fixed(QStringLiteral("GatewayUpdatePolicyLastSuccessAt"),
              &Settings::gatewayUpdatePolicyLastSuccessAt),
        fixed(QStringLiteral("GatewayUpdatePolicyLastFailureAt"),
              &Settings::gatewayUpdatePolicyLastFailureAt),
        fixed(QStringLiteral("GatewayCriticalUpdatePromptLastShownAt"),
              &Settings::gatewayCriticalUpdatePromptLastShownAt),
        fixed(QStringLiteral("GatewayOfflineUpdateWarningLastShownAt"),
              &Settings::gatewayOfflineUpdateWarningLastShownAt),
        plain(QStringLiteral("QuorinGateway.deviceId"), {}),
        plain(QStringLiteral("QuorinGateway.DataFileIndex"), {}),
    };
}

} // namespace

const QList<CatalogueSetting> &settingsTable()
{
    static const QList<CatalogueSetting> table =
        listenerSettings() +
        QList<CatalogueSetting>{
            flag(QStringLiteral("advertiseWithBonjour"), &Settings::advertiseWithBonjour)} +
        cloudSettings() + retentionSettings() +
        QList<CatalogueSetting>{appearance(), automaticUpdateChecks()} + keptByTheGateway();
    return table;
}

} // namespace gateway::terminal
