#include "core/dcm_listener_settings.h"

#include "core/ae_title_formatter.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSysInfo>

#include <cmath>
#include <limits>

namespace gateway::core {

namespace {

const QString kKey = QStringLiteral("ListenerSettings");

const QString kAETitle = QStringLiteral("aeTitle");
const QString kPort = QStringLiteral("port");
const QString kSyntax = QStringLiteral("syntax");
const QString kTimeout = QStringLiteral("timeout");
const QString kIsEnabled = QStringLiteral("isEnabled");
const QString kAdvertiseWithBonjour = QStringLiteral("advertiseWithBonjour");
const QString kSecurityProfile = QStringLiteral("securityProfile");
const QString kVerifyPeer = QStringLiteral("verifyPeer");
const QString kAssociationsPerAddress = QStringLiteral("associationsPerAddress");

std::optional<int> integerOf(const QJsonValue &value)
{
    const double number = value.toDouble(std::nan(""));
    const bool fits = number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    return fits && number == std::trunc(number) ? std::optional(static_cast<int>(number)) : std::nullopt;
}

std::optional<bool> booleanOf(const QJsonValue &value)
{
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

std::optional<TLSSecurityProfile> profileOf(const QJsonValue &value)
{
    const std::optional<int> number = integerOf(value);
    return number ? std::optional(static_cast<TLSSecurityProfile>(*number)) : std::nullopt;
}

/// Reads a member that may be missing or null. \return false when it is there and of the wrong type.
template <typename T, typename Convert>
bool readOptional(const QJsonObject &object, const QString &name, std::optional<T> &target, Convert convert)
{
    const QJsonValue value = object.value(name);
    target = convert(value);
    return target || value.isUndefined() || value.isNull();
}

template <typename T>
void writeOptional(QJsonObject &object, const QString &name, const std::optional<T> &value)
{
    if (value) {
        object.insert(name, *value);
    }
}

} // namespace

QString aeTitleForComputer(const QString &computerName)
{
    constexpr qsizetype kTaken = 16;
    const QString fallback = QStringLiteral("mac");
    const QString title =
        AETitleFormatter::format((computerName.isEmpty() ? fallback : computerName).left(kTaken));
    return title.isEmpty() ? fallback : title; // a name without one usable character is as good as none
}

DCMListenerSettings DCMListenerSettings::recommended()
{
    DCMListenerSettings settings;
    settings.aeTitle = aeTitleForComputer(QSysInfo::machineHostName().section(u'.', 0, 0));
    return settings;
}

DCMListenerSettings DCMListenerSettings::load(const platform::UserDefaults &defaults)
{
    const QVariant stored = defaults.object(kKey).value_or(QVariant());
    const auto settings =
        stored.typeId() == QMetaType::QByteArray ? fromJson(stored.toByteArray()) : std::nullopt;
    return settings ? *settings : recommended();
}

bool DCMListenerSettings::save(platform::UserDefaults &defaults) const
{
    return defaults.setObject(kKey, toJson());
}

QByteArray DCMListenerSettings::toJson() const
{
    QJsonObject object{
        {kAETitle, aeTitle},
        {kPort, port},
        {kSyntax, static_cast<int>(syntax)},
        {kTimeout, static_cast<qint64>(timeout.count())},
    };
    writeOptional(object, kIsEnabled, isEnabled);
    writeOptional(object, kAdvertiseWithBonjour, advertiseWithBonjour);
    if (securityProfile) {
        object.insert(kSecurityProfile, static_cast<int>(*securityProfile));
    }
    writeOptional(object, kVerifyPeer, verifyPeer);
    writeOptional(object, kAssociationsPerAddress, associationsPerAddress);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<DCMListenerSettings> DCMListenerSettings::fromJson(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QJsonObject object = document.object();
    const std::optional<int> port = integerOf(object.value(kPort));
    const std::optional<int> syntaxNumber = integerOf(object.value(kSyntax));
    const std::optional<int> timeout = integerOf(object.value(kTimeout));
    const auto syntax = syntaxNumber ? preferredSyntaxFromRawValue(*syntaxNumber) : std::nullopt;
    if (!object.value(kAETitle).isString() || !port || !syntax || !timeout) {
        return std::nullopt;
    }
    DCMListenerSettings settings;
    settings.aeTitle = object.value(kAETitle).toString();
    settings.port = *port;
    settings.syntax = *syntax;
    settings.timeout = std::chrono::seconds(*timeout);
    const bool whole =
        readOptional(object, kIsEnabled, settings.isEnabled, booleanOf) &&
        readOptional(object, kAdvertiseWithBonjour, settings.advertiseWithBonjour, booleanOf) &&
        readOptional(object, kSecurityProfile, settings.securityProfile, profileOf) &&
        readOptional(object, kVerifyPeer, settings.verifyPeer, booleanOf) &&
        readOptional(object, kAssociationsPerAddress, settings.associationsPerAddress, integerOf);
    return whole ? std::optional(settings) : std::nullopt;
}

} // namespace gateway::core
