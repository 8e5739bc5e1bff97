#include "terminal/instance/kept_cloud.h"

#include "terminal/commands/command_requests.h"
#include "terminal/instance/settings_rules.h"

namespace gateway::terminal {

namespace {

QString kindText(cloud_client::CloudKind kind)
{
    return kind == cloud_client::CloudKind::dicomweb ? QStringLiteral("dicomweb") : QStringLiteral("quorin");
}

QString plainAddress(const QString &address)
{
    return QUrl(address.trimmed(), QUrl::StrictMode)
        .toString(QUrl::StripTrailingSlash | QUrl::RemoveUserInfo);
}

} // namespace

bool KeptCloud::isThisOne(const QJsonObject &arguments) const
{
    const CloudArguments named = cloudArgumentsIn(arguments);
    return (!named.url || plainAddress(*named.url) == plainAddress(m_configuration.baseUrl.toString())) &&
           (!named.kind || *named.kind == kindText(m_configuration.kind));
}

bool KeptCloud::handle(const ControlRequest &request, const Answer &answer) const
{
    if (request.command != requests::kSetup && request.command != requests::kSignIn) {
        return false;
    }
    if (!isThisOne(request.arguments)) {
        answer(ControlReply::failure(
            QStringLiteral(
                "The gateway that runs goes to %1 (%2). End it, and start it with the other cloud.")
                .arg(plainAddress(m_configuration.baseUrl.toString()), kindText(m_configuration.kind)),
            ExitCode::usage));
        return true;
    }
    if (const auto issue = settings_rules::keepCloud(m_defaults, m_given.url, m_given.kind)) {
        answer(ControlReply::failure(*issue));
        return true;
    }
    return false;
}

std::optional<QString> KeptCloud::difference() const
{
    const auto kept = [this](const char *key) {
        return m_defaults.object(QString::fromLatin1(key)).value_or(QVariant()).toString();
    };
    const QString address = plainAddress(kept(cloud_client::kCloudBaseUrlKey));
    const QString kind = kept(cloud_client::kCloudKindKey);
    const QString present = plainAddress(m_configuration.baseUrl.toString());
    if ((address.isEmpty() || address == present) &&
        (kind.isEmpty() || kind == kindText(m_configuration.kind))) {
        return std::nullopt;
    }
    return QStringLiteral("This start goes to %1 (%2), as the command line or the environment says; the "
                          "settings keep %3 (%4).")
        .arg(present,
             kindText(m_configuration.kind),
             address.isEmpty() ? present : address,
             kind.isEmpty() ? QStringLiteral("quorin") : kind);
}

} // namespace gateway::terminal
