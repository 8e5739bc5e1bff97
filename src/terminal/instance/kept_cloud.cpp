#include "terminal/instance/kept_cloud.h"

#include "terminal/commands/archive_command.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/settings_rules.h"

namespace gateway::terminal {

using cloud_client::cloudKindName;

namespace {

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
           (!named.kind || *named.kind == cloudKindName(m_configuration.kind));
}

bool KeptCloud::handle(const ControlRequest &request, const Answer &answer) const
{
    if (request.command != requests::kSetup && request.command != requests::kSignIn &&
        request.command != requests::kArchiveSet) {
        return false;
    }
    if (!isThisOne(request.arguments)) {
        answer(ControlReply::failure(
            QStringLiteral(
                "The gateway that runs goes to %1 (%2). End it, and start it with the other cloud.")
                .arg(plainAddress(m_configuration.baseUrl.toString()), cloudKindName(m_configuration.kind)),
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
        (kind.isEmpty() || kind == cloudKindName(m_configuration.kind))) {
        return std::nullopt;
    }
    return QStringLiteral("This start goes to %1 (%2), as the command line or the environment says; the "
                          "settings keep %3 (%4).")
        .arg(present,
             cloudKindName(m_configuration.kind),
             address.isEmpty() ? present : address,
             kind.isEmpty() ? cloudKindName(cloud_client::CloudKind::quorin) : kind);
}

} // namespace gateway::terminal
