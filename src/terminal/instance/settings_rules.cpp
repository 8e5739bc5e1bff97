#include "terminal/instance/settings_rules.h"

#include "cloud_client/cloud_configuration.h"
#include "core/ae_title_formatter.h"
#include "core/appearance.h"
#include "core/device_id.h"
#include "core/gateway_auto_delete_mode.h"
#include "core/log_limit.h"
#include "core/retention_policy.h"
#include "terminal/commands/retention_option.h"
#include "wizard/setup_checks.h"

#include <QtCore/QFileInfo>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <algorithm>

namespace gateway::terminal::settings_rules {

namespace {

using core::DCMListenerSettings;
using core::GatewayAutoDeleteMode;

Issue unlessKept(bool kept)
{
    return kept ? std::nullopt : std::optional(QStringLiteral("The settings could not be written."));
}

std::optional<bool> parsedFlag(const QString &text)
{
    const QString word = text.trimmed().toLower();
    if (word == QStringLiteral("true") || word == QStringLiteral("on") || word == QStringLiteral("1")) {
        return true;
    }
    if (word == QStringLiteral("false") || word == QStringLiteral("off") || word == QStringLiteral("0")) {
        return false;
    }
    return std::nullopt;
}

Issue flagIssue(const QString &key)
{
    return QStringLiteral("%1 must be true or false.").arg(key);
}

std::optional<int> number(const QString &text)
{
    bool isNumber = false;
    const int value = text.trimmed().toInt(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

} // namespace

Issue setFlag(const QString &key, const QString &value, const std::function<bool(bool)> &keep)
{
    const std::optional<bool> on = parsedFlag(value);
    return on ? unlessKept(keep(*on)) : flagIssue(key);
}

Issue setChoice(const QString &key,
                const QString &value,
                const std::vector<int> &choices,
                const std::function<bool(int)> &keep)
{
    const std::optional<int> chosen = number(value);
    if (!chosen || std::find(choices.begin(), choices.end(), *chosen) == choices.end()) {
        QStringList words;
        for (const int choice : choices) {
            words.append(QString::number(choice));
        }
        return QStringLiteral("%1 must be one of %2.").arg(key, words.join(QStringLiteral(", ")));
    }
    return unlessKept(keep(*chosen));
}

Issue changeListener(platform::UserDefaults &defaults,
                     const QString &value,
                     Issue (*change)(DCMListenerSettings &, const QString &))
{
    DCMListenerSettings record = DCMListenerSettings::load(defaults);
    if (Issue issue = change(record, value)) {
        return issue;
    }
    return unlessKept(record.save(defaults));
}

Issue setAETitle(DCMListenerSettings &record, const QString &value)
{
    if (Issue issue = wizard::aeTitleIssue(value)) {
        return issue;
    }
    record.aeTitle = core::AETitleFormatter::format(value.trimmed());
    return std::nullopt;
}

Issue setPort(DCMListenerSettings &record, const QString &value)
{
    record.port = wizard::parsedPort(value).value_or(record.port);
    return wizard::portFormatIssue(value);
}

Issue setTimeout(DCMListenerSettings &record, const QString &value)
{
    if (Issue issue = wizard::timeoutIssue(value)) {
        return issue;
    }
    record.timeout = std::chrono::seconds(value.trimmed().toInt());
    return std::nullopt;
}

Issue setAssociationsPerAddress(DCMListenerSettings &record, const QString &value)
{
    constexpr int kMost = 256; // that the listener serves at once
    const std::optional<int> count = number(value);
    if (!count || *count < 1 || *count > kMost) {
        return QStringLiteral("ListenerSettings.associationsPerAddress must be a number between 1 and 256.");
    }
    record.associationsPerAddress = count;
    return std::nullopt;
}

Issue setSyntax(DCMListenerSettings &record, const QString &value)
{
    const std::optional<int> raw = number(value);
    const auto syntax = raw ? core::preferredSyntaxFromRawValue(*raw) : std::nullopt;
    if (!syntax) {
        return QStringLiteral("ListenerSettings.syntax must be one of 2, 27, 24, 21, 0, 23, 26.");
    }
    record.syntax = *syntax;
    return std::nullopt;
}

Issue setIsEnabled(DCMListenerSettings &record, const QString &value)
{
    const std::optional<bool> on = parsedFlag(value);
    record.isEnabled = on;
    return on ? std::nullopt : flagIssue(QStringLiteral("ListenerSettings.isEnabled"));
}

Issue setAdvertise(DCMListenerSettings &record, const QString &value)
{
    const std::optional<bool> on = parsedFlag(value);
    record.advertiseWithBonjour = on;
    return on ? std::nullopt : flagIssue(QStringLiteral("ListenerSettings.advertiseWithBonjour"));
}

Issue setDestinationFolder(core::Settings &settings, const SettingsDisk &disk, const QString &value)
{
    std::optional<QString> folder;
    std::optional<QByteArray> bookmark;
    if (!value.trimmed().isEmpty()) {
        const wizard::FolderValidationResult found = disk.folder(value);
        if (found.issue()) {
            return found.issue();
        }
        folder = value;
        bookmark = found.bookmark;
    }
    return unlessKept(settings.listenerDestinationFolder.set(folder) &&
                      settings.listenerDestinationFolderBookmark.set(bookmark));
}

Issue setCloudAddress(platform::UserDefaults &defaults, const QString &value)
{
    switch (cloud_client::faultOf(QUrl(value.trimmed(), QUrl::StrictMode), true)
                .value_or(cloud_client::AddressFault::plainHttp)) {
    case cloud_client::AddressFault::notOfTheWeb:
        return QStringLiteral("QuorinAPI.BaseURL must be an http or https address.");
    case cloud_client::AddressFault::holdsCredentials:
        return QStringLiteral("QuorinAPI.BaseURL must hold no user name and no password; sign in instead.");
    case cloud_client::AddressFault::plainHttp:
        break;
    }
    return unlessKept(
        defaults.setObject(QString::fromLatin1(cloud_client::kCloudBaseUrlKey), value.trimmed()));
}

QString cloudAddressText(const platform::UserDefaults &defaults)
{
    const QString text =
        defaults.object(QString::fromLatin1(cloud_client::kCloudBaseUrlKey)).value_or(QVariant()).toString();
    const qsizetype at = text.lastIndexOf(u'@');
    return at < 0 ? text : QStringLiteral("(hidden)@") + text.mid(at + 1);
}

Issue setCloudKind(platform::UserDefaults &defaults, const QString &value)
{
    if (!cloud_client::cloudKindNamed(value)) {
        return QStringLiteral("QuorinAPI.Kind must be quorin or dicomweb.");
    }
    return unlessKept(defaults.setObject(QString::fromLatin1(cloud_client::kCloudKindKey), value));
}

Issue setCloudCertificateFile(platform::UserDefaults &defaults,
                              const SettingsDisk &disk,
                              const QString &value)
{
    const QString path =
        value.trimmed().isEmpty() ? QString() : QFileInfo(value.trimmed()).absoluteFilePath();
    Issue issue = path.isEmpty() ? std::nullopt : disk.certificateFileIssue(path);
    return issue ? issue
                 : unlessKept(
                       defaults.setObject(QString::fromLatin1(cloud_client::kCloudCertificateFileKey), path));
}

Issue setCloudProxy(platform::UserDefaults &defaults, const QString &value)
{
    const QUrl url(value.trimmed(), QUrl::StrictMode);
    const bool isProxy = url.isValid() && url.scheme() == QStringLiteral("http") && !url.host().isEmpty() &&
                         url.port() > 0 && url.userInfo().isEmpty();
    if (!value.trimmed().isEmpty() && !isProxy) {
        return QStringLiteral("QuorinAPI.Proxy must be like http://proxy.example:3128, without a password.");
    }
    return unlessKept(defaults.setObject(QString::fromLatin1(cloud_client::kCloudProxyKey), value.trimmed()));
}

Issue keepCloud(platform::UserDefaults &defaults,
                const std::optional<QString> &address,
                const std::optional<QString> &kind)
{
    Issue issue = address ? setCloudAddress(defaults, *address) : std::nullopt;
    return issue || !kind ? issue : setCloudKind(defaults, *kind);
}

Issue setRetrieveMode(platform::UserDefaults &defaults, const QString &value)
{
    return setFlag(QStringLiteral("QuorinRetrieveMode"), value, [&](bool on) {
        return core::setRetrieveMode(defaults, on);
    });
}

Issue setAppearance(platform::UserDefaults &defaults, const QString &value)
{
    const std::optional<core::Appearance> appearance = core::appearanceFromRawValue(value.trimmed());
    if (!appearance) {
        return QStringLiteral("%1 must be dark, light or desktop.").arg(core::kAppearanceKey);
    }
    return unlessKept(defaults.setObject(core::kAppearanceKey, core::rawValue(*appearance)));
}

Issue setLogLimit(platform::UserDefaults &defaults, const QString &value)
{
    const std::optional<int> limit = value.trimmed().isEmpty() ? 0 : number(value);
    if (!limit || (*limit != 0 && (*limit < core::kLeastLogLimitMiB || *limit > core::kMostLogLimitMiB))) {
        return QStringLiteral("%1 must be a number of MiB from %2 to %3, or 0 for no limit.")
            .arg(core::kLogLimitKey)
            .arg(core::kLeastLogLimitMiB)
            .arg(core::kMostLogLimitMiB);
    }
    return unlessKept(defaults.setObject(core::kLogLimitKey, qlonglong{*limit}));
}

Issue setAutoDelete(core::Settings &settings, const QString &value)
{
    const std::optional<RetentionOption> option = parseRetentionOption(value.trimmed());
    if (!option) {
        return QStringLiteral("GatewayAutoDelete must be never, N-days or N-months.");
    }
    if (Issue issue = wizard::retentionIssue(option->mode, option->valueText)) {
        return issue;
    }
    return unlessKept(core::storeRetentionPolicy(
        settings, {option->mode, wizard::parsedRetentionValue(option->valueText).value_or(0)}));
}

Issue setAutoDeleteMode(core::Settings &settings, const QString &value)
{
    const std::optional<GatewayAutoDeleteMode> mode =
        core::gatewayAutoDeleteModeFromRawValue(value.trimmed());
    if (!mode) {
        return QStringLiteral("GatewayAutoDeleteMode must be never, days or months.");
    }
    if (*mode != GatewayAutoDeleteMode::never) {
        const auto amount = settings.gatewayAutoDeleteValue.get();
        if (const Issue issue =
                wizard::retentionIssue(*mode, amount ? QString::number(*amount) : QString())) {
            return QStringLiteral("%1 Set GatewayAutoDeleteValue first.").arg(*issue);
        }
    }
    // The mode first: should the second write fail, an amount without a mode deletes nothing.
    const bool kept =
        settings.gatewayAutoDeleteMode.set(*mode) &&
        (*mode != GatewayAutoDeleteMode::never || settings.gatewayAutoDeleteValue.set(std::nullopt));
    return unlessKept(kept);
}

Issue setAutoDeleteValue(core::Settings &settings, const QString &value)
{
    // Under `never` the amount only waits for its mode; the wider of the two bounds holds until then.
    const GatewayAutoDeleteMode mode = settings.gatewayAutoDeleteMode.get();
    const GatewayAutoDeleteMode judge =
        mode == GatewayAutoDeleteMode::never ? GatewayAutoDeleteMode::days : mode;
    if (Issue issue = wizard::retentionIssue(judge, value)) {
        return issue;
    }
    return unlessKept(settings.gatewayAutoDeleteValue.set(wizard::parsedRetentionValue(value)));
}

} // namespace gateway::terminal::settings_rules
